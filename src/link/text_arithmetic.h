#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quillon {

/// Conversions between bytes and text, and the CRC of frames. Hex text contains the digits 0 to 9 and A to F,
/// the most significant first. Byte text contains two hex digits and a blank for each byte: "40 05 ".

/// The value of each character as a hex digit in either case; 0 for any other character.
inline constexpr auto kHexDigitValues = [] {
  std::array<unsigned, 256> values{};
  for (unsigned i = 0; i < 10; ++i) values['0' + i] = i;
  for (unsigned i = 0; i < 6; ++i) values['A' + i] = values['a' + i] = 10 + i;
  return values;
}();

inline unsigned HexDigit(char digit) { return kHexDigitValues[static_cast<unsigned char>(digit)]; }

/// The byte text of `bytes`.
std::string ByteArrayToHex(std::span<const std::uint8_t> bytes);

/// The bytes of a frame that its CRC covers: 0 to L+2, where L is byte 2; at most the whole array.
std::span<const std::uint8_t> CrcPart(std::span<const std::uint8_t> frame);

/// The value of a hex text, 0 for an empty one.
double HexToNumber(std::string_view digits);

/// Four characters 0 and 1 for each hex digit, the most significant bit first.
std::string HexToBits(std::string_view digits);

/// The CRC-16/XMODEM (polynomial 0x1021, initial value 0, not reflected, no final exclusive or) of the bytes
/// in a hex text. Blanks and an odd last digit are ignored. The CRC of "123456789" in ASCII is "31C3".
std::string FrameCrc(std::string_view digits);

}  // namespace quillon
