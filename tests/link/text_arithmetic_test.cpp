#include "link/text_arithmetic.h"

#include <gtest/gtest.h>

#include "link/frame.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

TEST(FrameCrc, GivesPublishedAndWorkedValues) {
  const std::pair<const char*, const char*> kValues[] = {
      {"", "0000"},     {"313233343536373839", "31C3"}, {"61 62 63 ", "9DD6"}, {"616", "7C87"},
      {"ffff", "1D0F"}, {"40050161", "CADA"},
  };
  for (const auto& [digits, crc] : kValues) EXPECT_EQ(FrameCrc(digits), crc) << digits;
}

TEST(HexText, IsReadInBothCasesWithStrangersAsZero) {
  const std::pair<const char*, double> kValues[] = {
      {"", 0}, {"FF", 255}, {"aF", 175}, {"1G3", 259}, {" :7", 7}, {"FFFFFFFFFF", 1099511627775.0}};
  for (const auto& [digits, value] : kValues) EXPECT_EQ(HexToNumber(digits), value) << digits;
}

TEST(CloseFrame, AppendsCrcAndEndByteToEveryLengthOfPayload) {
  EXPECT_EQ(ToHex(CloseFrame(FromHex("40050173"))), "40050173F8A904");
  for (int length = 1; length <= 255; ++length) {
    Bytes frame{0x40, 0x1F, static_cast<std::uint8_t>(length)};
    for (int i = 0; i < length; ++i) frame.push_back(static_cast<std::uint8_t>(37 * i + length));
    EXPECT_EQ(ToHex(CloseFrame(frame)), ToHex(bus::CloseFrame(frame))) << length;
  }
}

}  // namespace
}  // namespace quillon::test
