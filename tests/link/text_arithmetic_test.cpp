#include "link/text_arithmetic.h"

#include <gtest/gtest.h>

#include "link/frame.h"
#include "support/bench.h"

namespace quillon::test {
namespace {

TEST(FrameCrc, GivesPublishedAndWorkedValues) {
  const std::pair<const char*, const char*> kValues[] = {
      {"", "0000"},         {"313233343536373839", "31C3"}, {"61", "7C87"},   {"6162", "74FF"},
      {"616263", "9DD6"},   {"61 62 63 ", "9DD6"},          {"616", "7C87"},  {"FFFF", "1D0F"},
      {"40050161", "CADA"}, {"40 05 01 73 ", "F8A9"},       {"ffff", "1D0F"}, {"00", "0000"},
  };
  for (const auto& [digits, crc] : kValues) EXPECT_EQ(FrameCrc(digits), crc) << digits;
}

TEST(ByteText, HasABlankBehindEachByteAndEndsWhereTheCrcPartDoes) {
  struct {
    const char* bytes;
    const char* all;
    const char* crcPart;
  } const kCases[] = {
      {"", "", ""},
      {"0A", "0A ", "0A "},
      {"682F", "68 2F ", "68 2F "},
      {"40050173F8A904", "40 05 01 73 F8 A9 04 ", "40 05 01 73 "},
      {"400500F8A904", "40 05 00 F8 A9 04 ", "40 05 00 "},
      {"4005FF61", "40 05 FF 61 ", "40 05 FF 61 "},
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(ByteArrayToHex(FromHex(row.bytes), false), row.all);
    EXPECT_EQ(ByteArrayToHex(FromHex(row.bytes), true), row.crcPart);
  }
}

TEST(HexText, IsReadInBothCasesWithStrangersAsZero) {
  const std::pair<const char*, double> kValues[] = {
      {"", 0}, {"FF", 255}, {"aF", 175}, {"1G3", 259}, {" 7", 7}, {"FFFFFFFFFF", 1099511627775.0}};
  for (const auto& [digits, value] : kValues) EXPECT_EQ(HexToNumber(digits), value) << digits;
  EXPECT_EQ(HexToBits("0123456789ABCDEF"),
            "0000000100100011010001010110011110001001101010111100110111101111");
}

TEST(CloseFrame, AppendsCrcAndEndByteToEveryLengthOfPayload) {
  EXPECT_EQ(ToHex(CloseFrame(FromHex("40050173"))), "40050173F8A904");
  for (int length = 1; length <= 255; ++length) {
    Bytes frame{0x40, 0x1F, static_cast<std::uint8_t>(length)};
    for (int i = 0; i < length; ++i) frame.push_back(static_cast<std::uint8_t>(37 * i + length));
    EXPECT_EQ(ToHex(CloseFrame(frame)), ToHex(Closed(frame))) << length;
  }
}

TEST(Answer, HasItsCodeInByteThree) {
  EXPECT_EQ(AnswerByte("40050161CADA04", 6), "04");
  EXPECT_EQ(AnswerByte("40050161CADA04", 7), "");
  EXPECT_TRUE(IsAcknowledge("40050161CADA04"));
  EXPECT_FALSE(IsAcknowledge("616161E1000061"));
  EXPECT_FALSE(IsAcknowledge("610561"));
}

}  // namespace
}  // namespace quillon::test
