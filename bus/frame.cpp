// Finds frames in a stream of bytes and computes their CRC. A frame ends with two bytes of CRC and 04:
//
//     protocol  address  length  payload (length bytes)  CRC high  CRC low  04
//
// Nothing marks the beginning of a frame, so the first byte of the stream is tried as one. If no frame begins
// there, the byte is noise and the next one is tried. frame.h has an example and describes the CRC.
#include "bus/frame.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <iterator>

namespace bus {
namespace {

using View = std::span<const std::uint8_t>;

constexpr std::uint8_t kEndByte = 0x04;
constexpr std::array<std::uint8_t, 7> kText = {'p', '4', '0', '0', ':', '4', '/'};

/// True when `bytes` begin with a text frame or with the first part of one.
bool BeginsTextFrame(View bytes) {
  if (bytes[0] != kFixedProtocol) return false;
  if (bytes.size() < 2) return true;
  if (bytes[1] < kTextFrameOffset || bytes[1] >= kTextFrameOffset + kControllerNumbers) return false;
  const View text = bytes.subspan(2, std::min(bytes.size() - 2, kText.size()));
  return std::equal(text.begin(), text.end(), kText.begin());
}

bool IsAddress(std::uint8_t byte) { return byte < kControllerNumbers || byte == kBroadcastAddress; }

bool IsClosed(View frame) {
  const std::size_t crcAt = frame.size() - kAfterPayload;
  const std::uint16_t crc = Crc16(frame.first(crcAt));
  return frame[crcAt] == crc >> 8 && frame[crcAt + 1] == (crc & 0xFF) && frame[crcAt + 2] == kEndByte;
}

struct Classification {
  enum { Unfinished, Frame, NoFrame } kind = Unfinished;
  std::size_t length = 0;  // of a frame
};

/// Classifies what `bytes` (at least one) begin with.
Classification Classify(View bytes) {
  if (BeginsTextFrame(bytes)) {
    if (bytes.size() < kTextFrameLength) return {Classification::Unfinished};
    return {Classification::Frame, kTextFrameLength};
  }
  if (bytes.size() >= 2 && !IsAddress(bytes[1])) return {Classification::NoFrame};
  if (bytes.size() < kBeforePayload) return {Classification::Unfinished};
  const std::size_t payload = bytes[2];
  const std::size_t length = payload + kFrameOverhead;
  if (payload == 0) return {Classification::NoFrame};
  if (bytes.size() < length) return {Classification::Unfinished};
  if (!IsClosed(bytes.first(length))) return {Classification::NoFrame};
  return {Classification::Frame, length};
}

/// The line may pause for ten characters within a frame, and for 20 ms at least. After a longer pause the
/// unfinished frame is discarded as noise; otherwise a damaged length byte would consume the next questions.
Time LongestPause(const LineFormat& format) {
  return std::max<Time>(TimeOf(10, format), std::chrono::milliseconds(20));
}

}  // namespace

/// Long division of binary numbers, one bit at a time. Exclusive or is the subtraction.
std::uint16_t Crc16(View bytes) {
  constexpr unsigned kPolynomial = 0x1021;
  constexpr unsigned kTopBit = 0x8000;
  unsigned remainder = 0;
  for (const std::uint8_t byte : bytes) {
    remainder ^= static_cast<unsigned>(byte) << 8;
    for (int bit = 0; bit < 8; ++bit) {
      const bool subtract = (remainder & kTopBit) != 0;
      remainder <<= 1;
      if (subtract) remainder ^= kPolynomial;
    }
  }
  return static_cast<std::uint16_t>(remainder);
}

Bytes CloseFrame(Bytes opened) {
  const std::uint16_t crc = Crc16(opened);
  opened.push_back(static_cast<std::uint8_t>(crc >> 8));
  opened.push_back(static_cast<std::uint8_t>(crc & 0xFF));
  opened.push_back(kEndByte);
  return opened;
}

bool IsTextFrame(View bytes) { return bytes.size() == kTextFrameLength && BeginsTextFrame(bytes); }

std::vector<ReceivedFrame> Framer::Add(std::uint8_t value, Time begins, Time ends, const LineFormat& format,
                                       Reception reception) {
  std::vector<ReceivedFrame> found;
  if (!pending_.bytes.empty()) {
    const Time pause = begins - pending_.timings.back().ends;
    if (format != format_ || pause > LongestPause(format_)) {
      MoveFront(pending_.bytes.size(), pending_, noise_);
      FlushNoise(found);
    }
  }
  format_ = format;
  pending_.bytes.push_back(value);
  pending_.timings.push_back({begins, ends, reception});

  while (!pending_.bytes.empty()) {
    const Classification front = Classify(pending_.bytes);
    if (front.kind == Classification::Unfinished) return found;
    if (front.kind == Classification::NoFrame) {
      MoveFront(1, pending_, noise_);
      continue;
    }
    FlushNoise(found);  // the noise came before the frame
    Run frame;
    MoveFront(front.length, pending_, frame);
    found.push_back(Describe(frame, Content::Frame));
  }
  FlushNoise(found);
  return found;
}

void Framer::MoveFront(std::size_t count, Run& from, Run& to) {
  const auto bytesEnd = from.bytes.begin() + static_cast<std::ptrdiff_t>(count);
  const auto timingsEnd = from.timings.begin() + static_cast<std::ptrdiff_t>(count);
  std::copy(from.bytes.begin(), bytesEnd, std::back_inserter(to.bytes));
  std::copy(from.timings.begin(), timingsEnd, std::back_inserter(to.timings));
  from.bytes.erase(from.bytes.begin(), bytesEnd);
  from.timings.erase(from.timings.begin(), timingsEnd);
}

ReceivedFrame Framer::Describe(const Run& run, Content content) const {
  const bool clean = std::all_of(run.timings.begin(), run.timings.end(),
                                 [](const Timing& timing) { return timing.reception == Reception::Clean; });
  return {run.timings.front().begins, run.timings.back().ends, format_, run.bytes,
          content == Content::Frame && clean};
}

void Framer::FlushNoise(std::vector<ReceivedFrame>& found) {
  if (noise_.bytes.empty()) return;
  found.push_back(Describe(noise_, Content::Noise));
  noise_ = {};
}

}  // namespace bus
