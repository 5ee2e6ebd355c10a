// A firmware file of any bytes: analysed, searched for faults, and cut into the frames of a download. Windows
// and waits are left out, so that thousands of files are tried each second.
#include <algorithm>
#include <cstdlib>

#include "bus/frame.h"
#include "commands/frames.h"
#include "image/analyse_image.h"
#include "image/batch_reader.h"
#include "image/hex_faults.h"
#include "platform/run_error.h"

using namespace quillon;

namespace {

/// A frame is as long as its length byte says, and its CRC matches.
void CheckFrame(const Bytes& frame, const Bytes& payload) {
  if (frame.size() != frame[2] + bus::kFrameOverhead) std::abort();
  if (bus::CloseFrame({frame.begin(), frame.end() - bus::kAfterPayload}) != frame) std::abort();
  if (!std::equal(payload.rbegin(), payload.rend(), frame.rbegin() + bus::kAfterPayload)) std::abort();
}

/// Reads all batches, up to and including the one that raises. Returns their number.
int ReadBatches(std::string_view text) {
  int count = 0;
  try {
    for (BatchReader batches(text); !batches.AtEnd();) {
      ++count;
      const Bytes payload = batches.Next();
      if (payload.size() < 2) std::abort();  // the address
      constexpr std::size_t kLongestPayload = 251;
      if (payload.size() <= kLongestPayload) CheckFrame(BatchFrame(bus::kBroadcastAddress, payload), payload);
    }
  } catch (const RunError&) {
    // The file ends where a batch was expected.
  }
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ImageFacts facts;
  const std::string checksum = ChecksumText(AnalyseImage(LineReader(text), facts));
  CheckFrame(FullChecksumFrame(5, checksum), {});
  const bool faulty = FirstHexFault(LineReader(text)).has_value();
  if (!faulty && !ContainsData(LineReader(text))) std::abort();
  if (ReadBatches(text) != CountBatches(text)) std::abort();
  return 0;
}
