// Reads a firmware file (Intel HEX) for its checksum and its metadata. A line has the columns, from 1:
//
//     :  LL   AAAA  TT   data, LL bytes  check byte        LL: length, AAAA: load address, TT: type
//     1  2-3  4-7   8-9  10 on
//
// Two lines contain version, bit rate, protocol and product. They are recognised by their load address, 2010
// and 2020, or 007B and 008B:
//
//     address  columns
//     2010     21 23, 27 29, 33 35      version: three pairs of single digits
//     2020     10-11, 14-15, 16-17      flags, protocol, product
//     007B     40-41                    version, first pair
//     008B     10-11, 12-13             version, second and third pair
//              14-15, 16-17, 18-19      flags, protocol, product
//
// Bits 6 to 4 of the flags are the code of the bit rate. The checksum is that of the whole flash, not of the
// file: an erased byte contains 255, so each byte that the file does not set adds 255 to the sum. A
// controller adds up its flash in the same way.
#include "image/analyse_image.h"

#include <cstdio>

#include "image/hex_line.h"
#include "link/text_arithmetic.h"
#include "platform/text_file.h"

namespace quillon {
namespace {

constexpr std::int64_t kFlashBytes = 56 * 1024 - 2;  // the range of the checksum
constexpr std::int64_t kErasedByte = 255;

struct BaudRule {
  std::string_view code;  // bits 6, 5 and 4 of the flags byte
  const char* text;
  const char* rate;  // nullptr: the file does not fix the rate
};
constexpr BaudRule kBaudRules[] = {
    {"111", "Baud Rate Programmable", nullptr}, {"000", "Baud Rate Fix 4800", "4800"},
    {"001", "Baud Rate Fix 9600", "9600"},      {"010", "Baud Rate Fix 19200", "19200"},
    {"011", "Baud Rate Fix 38400", "38400"},    {"100", "Baud Rate Fix 57600", "57600"},
    {"101", "Baud Rate Fix 115200", "115200"},
};

struct Product {
  std::string_view code;
  const char* name;
};
constexpr Product kProducts[] = {
    {"09", "ORVA"}, {"05", "WORBY"}, {"04", "QUORL"}, {"03", "VEX"}, {"02", "MURK"}};

void ApplyBaudRule(std::string_view flagsByte, ImageFacts& facts) {
  const std::string bits = HexToBits(flagsByte);
  if (bits.empty()) return;
  const std::string_view code = std::string_view(bits).substr(1, 3);
  for (const BaudRule& rule : kBaudRules) {
    if (rule.code != code) continue;
    facts.ImageBaudText = rule.text;
    if (rule.rate) facts.ImageBaudRate = rule.rate;
  }
}

void ApplyProduct(std::string_view code, ImageFacts& facts) {
  for (const Product& product : kProducts) {
    if (product.code == code) facts.ImageProduct = product.name;
  }
}

std::string Joined(std::string_view first, std::string_view second, std::string_view third) {
  return std::string(first).append("-").append(second).append("-").append(third);
}

/// "12-05-31" from the low digits of data bytes 5, 6, 8, 9, 11 and 12, counted from 0.
std::string LowDigitVersion(const HexLine& line) {
  const auto digit = [&line](std::size_t column) { return std::string(line.Columns(column, column)); };
  return Joined(digit(21) + digit(23), digit(27) + digit(29), digit(33) + digit(35));
}

void ApplyMetadata(const HexLine& line, ImageFacts& facts) {
  const std::string_view address = line.AddressText();
  if (address == "2010") facts.ImageVersion = LowDigitVersion(line);
  if (address == "2020") {
    ApplyBaudRule(line.Columns(10, 11), facts);
    facts.ImageProtocol = line.Columns(14, 15);
    ApplyProduct(line.Columns(16, 17), facts);
  }
  if (address == "007B") facts.ImageVersion = line.Columns(40, 41);
  if (address == "008B") {
    facts.ImageVersion = Joined(facts.ImageVersion, line.Columns(10, 11), line.Columns(12, 13));
    ApplyBaudRule(line.Columns(14, 15), facts);
    facts.ImageProtocol = line.Columns(16, 17);
    ApplyProduct(line.Columns(18, 19), facts);
  }
}

/// The sum of the line's data bytes. A line that is cut may end with half a pair.
std::int64_t DataSum(const HexLine& line, unsigned length) {
  std::string_view data = line.Columns(HexLine::kDataColumn, HexLine::kDataColumn + 2 * length - 1);
  unsigned sum = 0;
  for (; data.size() >= 2; data.remove_prefix(2)) sum += HexDigit(data[0]) << 4 | HexDigit(data[1]);
  if (!data.empty()) sum += HexDigit(data[0]);
  return sum;
}

}  // namespace

std::int64_t AnalyseImage(LineReader lines, ImageFacts& facts) {
  std::int64_t lengthSum = 0;
  std::int64_t dataSum = 0;
  while (!lines.AtEnd()) {
    const HexLine line(lines.Next());
    if (line.IsFirstSegment()) continue;  // only selects the first 64 KiB; its two bytes are no firmware
    const unsigned length = line.DataLength();
    lengthSum += length;
    if (length != 0) dataSum += DataSum(line, length);
    ApplyMetadata(line, facts);
  }
  return dataSum + kErasedByte * (kFlashBytes - lengthSum);
}

std::string ChecksumText(std::int64_t checksum) {
  char text[2 * sizeof(std::int64_t) + 1];
  std::snprintf(text, sizeof text, "%llX",
                static_cast<unsigned long long>(checksum < 0 ? checksum & 0xFFFFFFFF : checksum));
  return text;
}

}  // namespace quillon
