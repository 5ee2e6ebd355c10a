// Converts bytes to text and back, and computes the CRC of a frame:
//
//     bytes   40 05 01 73     hex text "40050173", byte text "40 05 01 73 "     CRC "F8A9"
//
// The CRC is CRC-16/XMODEM: polynomial 0x1021, initial value 0. It is computed one byte at a time, with a
// table that contains the CRC of each byte value. It is computed from text, the form of answers and of the
// log.
#include "link/text_arithmetic.h"

#include <algorithm>

namespace quillon {
namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

/// The CRC of each byte value.
constexpr auto kCrcTable = [] {
  std::array<std::uint16_t, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned crc = byte << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000) ? (crc << 1) ^ 0x1021 : crc << 1;
    table[byte] = static_cast<std::uint16_t>(crc);
  }
  return table;
}();

}  // namespace

// The CRC covers protocol byte, address, length and payload. A damaged frame may be shorter than its length
// says.
std::span<const std::uint8_t> CrcPart(std::span<const std::uint8_t> frame) {
  constexpr std::size_t kLengthIndex = 2;
  if (frame.size() <= kLengthIndex) return frame;
  return frame.first(std::min<std::size_t>(frame.size(), frame[kLengthIndex] + kLengthIndex + 1));
}

std::string ByteArrayToHex(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kCharactersPerByte = 3;  // two digits and a blank
  std::string text(kCharactersPerByte * bytes.size(), ' ');
  char* out = text.data();
  for (const std::uint8_t byte : bytes) {
    out[0] = kDigits[byte >> 4];
    out[1] = kDigits[byte & 0xF];
    out += kCharactersPerByte;
  }
  return text;
}

double HexToNumber(std::string_view digits) {
  double value = 0;
  for (const char digit : digits) value = 16 * value + HexDigit(digit);
  return value;
}

std::string HexToBits(std::string_view digits) {
  std::string bits;
  for (const char digit : digits) {
    for (unsigned mask = 8; mask != 0; mask >>= 1) bits += (HexDigit(digit) & mask) ? '1' : '0';
  }
  return bits;
}

std::string FrameCrc(std::string_view digits) {
  unsigned crc = 0;
  unsigned high = 0;  // the first digit of the current byte
  bool haveHigh = false;
  for (const char digit : digits) {
    if (digit == ' ') continue;
    if (haveHigh) {
      const unsigned byte = high << 4 | HexDigit(digit);
      crc = ((crc << 8) ^ kCrcTable[(crc >> 8) ^ byte]) & 0xFFFF;
    } else {
      high = HexDigit(digit);
    }
    haveHigh = !haveHigh;
  }
  return {kDigits[crc >> 12], kDigits[crc >> 8 & 0xF], kDigits[crc >> 4 & 0xF], kDigits[crc & 0xF]};
}

}  // namespace quillon
