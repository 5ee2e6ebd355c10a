#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "bus/bus.h"

namespace bus {

using namespace std::chrono_literals;

inline constexpr LineFormat k9600{9600};
inline constexpr LineFormat k19200{19200};

inline Bytes Check(int number, std::uint8_t protocol = 0x40) {
  return CloseFrame({protocol, static_cast<std::uint8_t>(number), 1, 0x73});
}

inline Bytes Erase(int number, std::uint8_t speedChoice = 0xAA, std::uint8_t protocol = 0x40) {
  return CloseFrame({protocol, static_cast<std::uint8_t>(number), 4, 0x74, 0x55, speedChoice, 0xF0});
}

/// A programming batch; `address` 0x5F is for all.
inline Bytes Batch(std::uint8_t address, std::uint16_t at, const Bytes& data) {
  Bytes frame = {0x40,
                 address,
                 static_cast<std::uint8_t>(data.size() + 6),
                 0x75,
                 0xAA,
                 0x55,
                 0x10,
                 static_cast<std::uint8_t>(at >> 8),
                 static_cast<std::uint8_t>(at & 0xFF)};
  std::copy(data.begin(), data.end(), std::back_inserter(frame));
  return CloseFrame(frame);
}

inline Bytes FullChecksum(int number, std::uint32_t sum) {
  return CloseFrame({0x40, static_cast<std::uint8_t>(number), 7, 0x75, 0xAA, 0x55, 0x0F,
                     static_cast<std::uint8_t>(sum >> 16), static_cast<std::uint8_t>(sum >> 8 & 0xFF),
                     static_cast<std::uint8_t>(sum & 0xFF)});
}

/// A tool of a few lines: sends, waits as long as it takes, reads.
class Talk {
 public:
  explicit Talk(Bus& line) : line_(line) {}

  /// Everything that comes back within ten seconds.
  Bytes Ask(const Bytes& message, const LineFormat& format = k9600) {
    line_.Send(message, format, now);
    now += 10s;
    return line_.Receive(format, now);
  }

  /// The answer's code; 0 for silence.
  int Code(const Bytes& message, const LineFormat& format = k9600) {
    const Bytes answer = Ask(message, format);
    return answer.size() > 3 ? answer[3] : 0;
  }

  Time now{};

 private:
  Bus& line_;
};

}  // namespace bus
