// Bytes on the simulated line: whatever they are, the framer loses none, doubles none and keeps their order.
// Byte 0 of the input is the number of bytes between two pauses; 0: no pause.
#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "bus/frame.h"

using namespace std::chrono_literals;

namespace {

void CheckFrame(const bus::ReceivedFrame& frame) {
  if (!frame.intact || bus::IsTextFrame(frame.bytes)) return;
  if (bus::CloseFrame({frame.bytes.begin(), frame.bytes.end() - bus::kAfterPayload}) != frame.bytes)
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t run = data[0];
  const bus::Bytes stream(data + 1, data + size);
  bus::Framer framer;
  bus::Bytes found;
  bus::Time now{};
  for (std::size_t i = 0; i < stream.size(); ++i) {
    if (run != 0 && i % run == 0) now += 1s;
    const bus::Time ends = now + 1ms;
    for (const bus::ReceivedFrame& frame : framer.Add(stream[i], now, ends, {9600}, bus::Reception::Clean)) {
      CheckFrame(frame);
      found.insert(found.end(), frame.bytes.begin(), frame.bytes.end());
    }
    now = ends;
  }
  if (found.size() + bus::kLongestFrame < stream.size()) std::abort();
  if (!std::equal(found.begin(), found.end(), stream.begin())) std::abort();
  return 0;
}
