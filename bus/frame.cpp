#include "bus/frame.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <iterator>

namespace bus {
namespace {

constexpr std::uint8_t kEndByte = 0x04;
constexpr std::array<std::uint8_t, 7> kText = {'p', '4', '0', '0', ':', '4', '/'};

/// True when `bytes` are a text frame or its beginning.
bool BeginsTextFrame(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > kTextFrameLength || bytes.empty() || bytes[0] != kFixedProtocol) return false;
  if (bytes.size() == 1) return true;
  if (bytes[1] < kTextFrameOffset || bytes[1] >= kTextFrameOffset + kControllerNumbers) return false;
  const auto text = bytes.subspan(2);
  return std::equal(text.begin(), text.end(), kText.begin());
}

bool IsAddress(std::uint8_t byte) { return byte < kControllerNumbers || byte == kBroadcastAddress; }

enum class Verdict { Unfinished, Frame, NoFrame };

/// Judges the beginning of `bytes`; `length` is set when that is a frame.
Verdict Judge(std::span<const std::uint8_t> bytes, std::size_t& length) {
  if (BeginsTextFrame(bytes.first(std::min(bytes.size(), kTextFrameLength)))) {
    length = kTextFrameLength;
    return bytes.size() < kTextFrameLength ? Verdict::Unfinished : Verdict::Frame;
  }
  if (bytes.size() >= 2 && !IsAddress(bytes[1])) return Verdict::NoFrame;
  if (bytes.size() < 3) return Verdict::Unfinished;
  if (bytes[2] == 0) return Verdict::NoFrame;
  length = bytes[2] + kFrameOverhead;
  if (bytes.size() < length) return Verdict::Unfinished;
  const std::uint16_t crc = Crc16(bytes.first(length - 3));
  const bool closed =
      bytes[length - 3] == crc >> 8 && bytes[length - 2] == (crc & 0xFF) && bytes[length - 1] == kEndByte;
  return closed ? Verdict::Frame : Verdict::NoFrame;
}

Time LongestPause(const LineFormat& format) {
  return std::max<Time>(TimeOf(10, format), std::chrono::milliseconds(20));
}

}  // namespace

std::uint16_t Crc16(std::span<const std::uint8_t> bytes) {
  constexpr unsigned kPolynomial = 0x1021;
  unsigned crc = 0;
  for (const std::uint8_t byte : bytes) {
    crc ^= static_cast<unsigned>(byte) << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000) != 0 ? (crc << 1) ^ kPolynomial : crc << 1;
  }
  return static_cast<std::uint16_t>(crc);
}

Bytes CloseFrame(Bytes opened) {
  const std::uint16_t crc = Crc16(opened);
  opened.push_back(static_cast<std::uint8_t>(crc >> 8));
  opened.push_back(static_cast<std::uint8_t>(crc & 0xFF));
  opened.push_back(kEndByte);
  return opened;
}

bool IsTextFrame(std::span<const std::uint8_t> bytes) {
  return bytes.size() == kTextFrameLength && BeginsTextFrame(bytes);
}

std::vector<Heard> Framer::Add(std::uint8_t value, Time begins, Time ends, const LineFormat& format,
                               bool garbled) {
  std::vector<Heard> found;
  const bool cut = !pending_.bytes.empty() &&
                   (format != format_ || begins - pending_.stamps.back().ends > LongestPause(format_));
  if (cut) {
    MoveFront(pending_, noise_, pending_.bytes.size());
    TakeNoise(found);
  }
  format_ = format;
  pending_.bytes.push_back(value);
  pending_.stamps.push_back({begins, ends, garbled});

  std::size_t length = 0;
  Verdict verdict = Verdict::Unfinished;
  while (!pending_.bytes.empty() && (verdict = Judge(pending_.bytes, length)) != Verdict::Unfinished) {
    if (verdict == Verdict::NoFrame) {
      MoveFront(pending_, noise_, 1);
      continue;
    }
    TakeNoise(found);
    Run frame;
    MoveFront(pending_, frame, length);
    found.push_back(Describe(frame, true));
  }
  if (pending_.bytes.empty()) TakeNoise(found);
  return found;
}

void Framer::MoveFront(Run& from, Run& to, std::size_t count) {
  const auto bytesEnd = from.bytes.begin() + static_cast<std::ptrdiff_t>(count);
  const auto stampsEnd = from.stamps.begin() + static_cast<std::ptrdiff_t>(count);
  std::copy(from.bytes.begin(), bytesEnd, std::back_inserter(to.bytes));
  std::copy(from.stamps.begin(), stampsEnd, std::back_inserter(to.stamps));
  from.bytes.erase(from.bytes.begin(), bytesEnd);
  from.stamps.erase(from.stamps.begin(), stampsEnd);
}

Heard Framer::Describe(const Run& run, bool isFrame) const {
  const bool garbled =
      std::any_of(run.stamps.begin(), run.stamps.end(), [](const Stamp& stamp) { return stamp.garbled; });
  return {run.stamps.front().begins, run.stamps.back().ends, format_, run.bytes, isFrame && !garbled};
}

void Framer::TakeNoise(std::vector<Heard>& found) {
  if (noise_.bytes.empty()) return;
  found.push_back(Describe(noise_, false));
  noise_ = {};
}

}  // namespace bus
