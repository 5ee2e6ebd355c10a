#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quillon {

/// Hex text: digits 0 to 9 and A to F, the most significant first. Byte text: two hex digits and a blank for
/// each byte, the last one too.

/// The value of each character as a hex digit, in either case; any other character counts as the digit 0.
inline constexpr auto kHexDigitValues = [] {
  std::array<unsigned, 256> values{};
  for (unsigned i = 0; i < 10; ++i) values['0' + i] = i;
  for (unsigned i = 0; i < 6; ++i) values['A' + i] = values['a' + i] = 10 + i;
  return values;
}();

inline unsigned HexDigit(char digit) { return kHexDigitValues[static_cast<unsigned char>(digit)]; }

/// The byte text of all bytes.
std::string ByteArrayToHex(std::span<const std::uint8_t> bytes);

/// The bytes of a frame that its CRC covers: 0 to N+2, where N is byte 2, the length; all of them where the
/// array is shorter.
std::span<const std::uint8_t> CrcPart(std::span<const std::uint8_t> frame);

/// The value of a hex text, 0 for an empty one.
double HexToNumber(std::string_view digits);

/// Four characters 0 and 1 for each hex digit, the most significant bit first.
std::string HexToBits(std::string_view digits);

/// CRC-16/XMODEM (polynomial 0x1021, initial value 0, not reflected, no final exclusive or) of the bytes that
/// a hex text spells; blanks are passed over, and an odd last digit is left out. Four hex digits, high byte
/// first: "123456789" in ASCII has 31C3.
std::string FrameCrc(std::string_view digits);

}  // namespace quillon
