#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace bus {

using Bytes = std::vector<std::uint8_t>;

/// Nanoseconds since an epoch of the caller's own; only moves forward.
using Time = std::chrono::nanoseconds;

/// How bytes are put on the line. Two ends understand each other only when all of it is equal.
struct LineFormat {
  int baud = 9600;  // bits per second, above 0
  int dataBits = 8;
  char parity = 'N';  // N none, E even, O odd, M mark, S space
  int stopBits = 2;
  bool operator==(const LineFormat&) const = default;
};

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

/// How long `count` bytes take, one behind the other: 11 bit times each at 8N2.
inline Time TimeOf(std::size_t count, const LineFormat& format) {
  const int bits = 1 + format.dataBits + (format.parity == 'N' ? 0 : 1) + format.stopBits;
  return Time(static_cast<std::int64_t>(count) * bits * kNanosecondsPerSecond / format.baud);
}

}  // namespace bus
