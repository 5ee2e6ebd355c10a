#pragma once

#include <QColor>
#include <initializer_list>
#include <string>
#include <vector>

#include "end_to_end/image.h"
#include "support/bench.h"

namespace quillon::test {

inline const QColor kBlack(0, 0, 0);
inline const QColor kRed(255, 0, 0);
inline const QColor kWhite(255, 255, 255);

/// The low eight bits of each.
inline Bytes FromValues(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values) bytes.push_back(static_cast<std::uint8_t>(value));
  return bytes;
}

/// The frames of a run, told one by one.
class Expected {
 public:
  Expected& Add(int baud, const Bytes& frame, int times = 1) {
    return AddClosed(baud, ToHex(bus::CloseFrame(frame)), times);
  }
  Expected& AddClosed(int baud, const std::string& digits, int times = 1) {
    for (int i = 0; i < times; ++i) frames.push_back(std::to_string(baud) + " 8N2 " + digits);
    return *this;
  }

  std::vector<std::string> frames;
};

inline Bytes Erase(int protocol, int y) { return FromValues({protocol, y, 4, 0x74, 0x55, 0xAA, 0xF0}); }
inline Bytes Check(int protocol, int y) { return FromValues({protocol, y, 1, 0x73}); }
inline Bytes BootCheck(int protocol, int y) { return FromValues({protocol, y, 4, 0x75, 0xAA, 0x55, 0x50}); }
inline Bytes FullChecksum(const Firmware& firmware, int y) {
  const int sum = static_cast<int>(firmware.Checksum());
  return FromValues({0x40, y, 7, 0x75, 0xAA, 0x55, 0x0F, sum >> 16, sum >> 8, sum});
}

}  // namespace quillon::test
