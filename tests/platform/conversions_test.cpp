#include "platform/conversions.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/run_error.h"

namespace quillon {
namespace {

std::int64_t Integer(std::string_view text) { return ToInteger(text, "the box"); }
std::int64_t Long(std::string_view text) { return ToLong(text, "the box"); }
std::int64_t Byte(std::string_view text) { return ToWholeNumber(text, 0, 254, "the box"); }

struct NumberCase {
  const char* name;
  std::int64_t (*convert)(std::string_view);
  std::string text;
  const char* outcome;
};
void PrintTo(const NumberCase& row, std::ostream* out) { *out << row.name << " \"" << row.text << "\""; }

class NumberInABox : public testing::TestWithParam<NumberCase> {};

TEST_P(NumberInABox, IsReadOrRefused) {
  std::string outcome;
  try {
    outcome = std::to_string(GetParam().convert(GetParam().text));
  } catch (const RunError& error) {
    outcome = "failure " + std::to_string(error.number);
    EXPECT_NE(error.description.find("the box holds"), std::string::npos);
  }
  EXPECT_EQ(outcome, GetParam().outcome);
}

const NumberCase kNumbers[] = {
    // clang-format off
    {"Plain",            Integer, "500",                 "500"},
    {"BlanksAround",     Integer, "  12\t",              "12"},
    {"Plus",             Integer, "+03",                 "3"},
    {"HalfToEvenDown",   Integer, "2.5",                 "2"},
    {"HalfToEvenUp",     Integer, "3.5",                 "4"},
    {"OverHalf",         Integer, "2.51",                "3"},
    {"NegativeHalf",     Integer, "-1.5",                "-2"},
    {"OnlyFraction",     Integer, ".4",                  "0"},
    {"Lowest",           Integer, "-32768",              "-32768"},
    {"Highest",          Integer, "32767.4",             "32767"},
    {"RoundsOutOfRange", Integer, "32767.5",             "failure 6"},
    {"TooLow",           Integer, "-32769",              "failure 6"},
    {"LongHighest",      Long,    "2147483647",          "2147483647"},
    {"LongTooHigh",      Long,    "2147483648",          "failure 6"},
    {"LongLowest",       Long,    "-2147483648",         "-2147483648"},
    {"LongTooLow",       Long,    "-2147483649",         "failure 6"},
    {"HundredsOfDigits", Long,    std::string(400, '9'), "failure 6"},
    {"ByteNegativeZero", Byte,    "-0.4",                "0"},
    {"ByteTooLow",       Byte,    "-1",                  "failure 6"},
    {"ByteHighest",      Byte,    "254",                 "254"},
    {"ByteTooHigh",      Byte,    "255",                 "failure 6"},
    {"Empty",            Integer, "",                    "failure 13"},
    {"OnlyBlanks",       Integer, "   ",                 "failure 13"},
    {"NumberAndWord",    Integer, "12ms",                "failure 13"},
    {"TwoNumbers",       Integer, "1 2",                 "failure 13"},
    {"TwoPoints",        Integer, "1.2.3",               "failure 13"},
    {"OnlyPoint",        Integer, ".",                   "failure 13"},
    {"TwoSigns",         Integer, "-+1",                 "failure 13"},
    {"Hexadecimal",      Integer, "0x10",                "failure 13"},
    {"Exponent",         Integer, "1e3",                 "failure 13"},
    {"Infinity",         Integer, "inf",                 "failure 13"},
    // clang-format on
};
INSTANTIATE_TEST_SUITE_P(Platform, NumberInABox, testing::ValuesIn(kNumbers),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace quillon
