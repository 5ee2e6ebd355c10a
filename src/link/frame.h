#pragma once

#include <cstdint>
#include <string>

#include "platform/computer.h"

namespace quillon {

/// A frame on the line:
///
///     0  protocol byte
///     1  address: the controller's number, or kBroadcast
///     2  L, number of payload bytes, at least 1
///     3  command code, the first payload byte, and the rest of the payload up to 2+L
///     3+L, 4+L  CRC-16/XMODEM of bytes 0 to 2+L, high byte first
///     5+L  end byte 0x04
///
/// An answer has the same form; the code of an answer is its byte 3.

inline constexpr std::uint8_t kFixedProtocol = 0x40;  ///< of the frames for which `Protocol` does not count
inline constexpr std::uint8_t kBroadcast = 0x5F;
inline constexpr std::uint8_t kEndByte = 0x04;
inline constexpr int kTextFrameAddressOffset = 30;  ///< in the address of the text frame "p400:4/"

/// Closes a frame given up to its last payload byte: appends CRC and end byte.
Bytes CloseFrame(Bytes frame);

/// Byte `n` of an answer, counted from 0, as its two digits; fewer where the answer is shorter.
std::string AnswerByte(const std::string& answer, std::size_t n);

/// Whether an answer carries the accepting code 0x61.
bool IsAcknowledge(const std::string& answer);

}  // namespace quillon
