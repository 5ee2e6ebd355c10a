// Finds the first fault of an Intel HEX file, so that the operator is warned before anything is erased. Each
// line is checked from left to right:
//
//     :10008000 data, 16 bytes 3E      colon, hex digits only, as many as the length (hex 10) requires, and a
//                                      check byte that makes the sum of all bytes 0 (modulo 256)
//     :00000001FF                      the end record, type 01; only empty lines may follow it
#include "image/hex_faults.h"

#include <cctype>
#include <cstdio>
#include <string_view>

#include "image/hex_line.h"

namespace quillon {
namespace {

constexpr std::size_t kDigitsWithoutData = 10;  // LL, AAAA, TT and the check byte
constexpr std::string_view kHexDigits = "0123456789ABCDEFabcdef";
constexpr std::string_view kEndRecord = "01";

std::string HexByte(unsigned value) {
  char text[3];
  std::snprintf(text, sizeof text, "%02X", value & 0xFF);
  return text;
}

/// A character in a form that the operator can search for.
std::string Quoted(char character) {
  const bool printable = std::isprint(static_cast<unsigned char>(character)) != 0;
  return printable ? std::string{'"', character, '"'}
                   : "the character " + HexByte(static_cast<unsigned char>(character));
}

bool IsData(const HexLine& line) { return line.Columns(8, 9) == "00" && line.DataLength() != 0; }

/// The fault of one line that is not empty.
std::optional<std::string> FaultOf(std::string_view text) {
  if (!text.starts_with(':')) return "begins with " + Quoted(text.front()) + " in the place of a colon";
  const std::string_view digits = text.substr(1);
  const std::size_t wrong = digits.find_first_not_of(kHexDigits);
  if (wrong != digits.npos) return Quoted(digits[wrong]) + " is no hex digit";
  const HexLine line(text);
  const std::size_t expected = kDigitsWithoutData + 2 * std::size_t{line.DataLength()};
  if (digits.size() != expected) {
    return "has " + std::to_string(digits.size()) + " digits, should have " + std::to_string(expected) +
           " by its length";
  }
  unsigned sum = 0;  // of all bytes, with the check byte
  for (std::size_t i = 0; i < digits.size(); i += 2)
    sum += HexDigit(digits[i]) << 4 | HexDigit(digits[i + 1]);
  if (sum % 256 == 0) return std::nullopt;
  const auto check = static_cast<unsigned>(HexToNumber(digits.substr(digits.size() - 2)));
  return "check byte is " + HexByte(check) + ", should be " + HexByte(check - sum);
}

}  // namespace

std::optional<std::string> FirstHexFault(LineReader lines) {
  bool ended = false;
  bool data = false;
  if (lines.AtEnd()) return "the file is empty";
  for (int number = 1; !lines.AtEnd(); ++number) {
    const std::string_view text = lines.Next();
    const std::string place = "line " + std::to_string(number) + ": ";
    if (ended && text.empty()) continue;
    if (ended) return place + "stands after the end record";
    if (text.empty()) return place + "is empty";
    if (const auto fault = FaultOf(text)) return place + *fault;
    const HexLine line(text);
    ended = line.Columns(8, 9) == kEndRecord;
    data |= IsData(line);
  }
  if (!ended) return "the file has no end record; it may be cut";
  if (!data) return "the file contains no data";
  return std::nullopt;
}

bool ContainsData(LineReader lines) {
  while (!lines.AtEnd()) {
    const std::string_view text = lines.Next();
    if (!text.empty() && !FaultOf(text) && IsData(HexLine(text))) return true;
  }
  return false;
}

}  // namespace quillon
