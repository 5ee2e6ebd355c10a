#include "platform/conversions.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/test_program.h"

namespace quillon::test {
namespace {

TEST(NumberInABox, IsReadWithHalvesToTheEvenNeighbour) {
  const std::pair<const char*, int> kNumbers[] = {
      {"500", 500}, {"  12\t", 12}, {"+03", 3}, {"2.5", 2},         {"3.5", 4},
      {"2.51", 3},  {"-1.5", -2},   {".4", 0},  {"-32768", -32768}, {"32767.4", 32767}};
  for (const auto& [text, number] : kNumbers) EXPECT_EQ(ToInteger(text, "the box"), number) << text;
  EXPECT_EQ(ToLong("2147483647", "the box"), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(ToLong("-2147483648", "the box"), std::numeric_limits<std::int32_t>::min());
}

TEST(NumberInABox, IsRefusedOutOfRangeAndWhereItIsNone) {
  const std::pair<std::string, int> kTexts[] = {{"32767.5", 6}, {"-32769", 6}, {std::string(400, '9'), 6},
                                                {"", 13},       {"   ", 13},   {"12ms", 13},
                                                {"1 2", 13},    {"1.2.3", 13}, {".", 13},
                                                {"-+1", 13},    {"0x10", 13},  {"1e3", 13},
                                                {"inf", 13}};
  for (const auto& [text, number] : kTexts)
    EXPECT_EQ(FailureNumber([&text = text] { ToInteger(text, "the box"); }), number) << text;
  EXPECT_EQ(FailureNumber([] { ToLong("-2147483649", "the box"); }), 6);
}

}  // namespace
}  // namespace quillon::test
