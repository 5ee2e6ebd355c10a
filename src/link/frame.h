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
///     40 05 01 73 F8 A9 04   asks controller 5 for version and checksum: command 73
///
/// An answer has the same form; its byte 3 is the code of the answer.

inline constexpr std::uint8_t kFixedProtocol = 0x40;  ///< of frames that ignore `Protocol`
inline constexpr std::uint8_t kBroadcast = 0x5F;      ///< address of all controllers
inline constexpr std::uint8_t kEndByte = 0x04;
inline constexpr int kTextFrameAddressOffset = 30;  ///< added to the number in the frame "p400:4/"

/// Appends CRC and end byte to a frame that ends with its last payload byte.
Bytes CloseFrame(Bytes frame);

/// Byte `n` (from 0) of an answer in hex digits: two digits, or "" when the answer is shorter.
std::string AnswerByte(const std::string& answer, std::size_t n);

/// Whether the code of an answer is 0x61: accepted.
bool IsAcknowledge(const std::string& answer);

}  // namespace quillon
