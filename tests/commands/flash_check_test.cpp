#include <gtest/gtest.h>

#include "commands/command_bench.h"

namespace quillon::test {
namespace {

struct CheckCase {
  const char* name;
  const char* fileChecksum;  // on the table
  std::vector<std::string> answers;
  bool result;
  const char* row;
  std::size_t sends;
  int beeps;
};
void PrintTo(const CheckCase& c, std::ostream* out) { *out << c.name; }

class FlashCheck : public testing::TestWithParam<CheckCase> {};

TEST_P(FlashCheck, FillsTheRow) {
  CommandBench bench;
  bench.tool.info.Ver(5).SetText("former");
  bench.tool.info.FileCheksum.SetText(GetParam().fileChecksum);
  bench.Answer(GetParam().answers);
  int y = 5;
  EXPECT_EQ(bench.tool.FlashCheck(y), GetParam().result);
  EXPECT_EQ(bench.Row(5), GetParam().row);
  EXPECT_EQ(bench.world.sent.size(), GetParam().sends);
  EXPECT_EQ(bench.world.beeps, GetParam().beeps);
  EXPECT_FALSE(bench.tool.message.Visible());
}

const std::string k13Bytes = Reply5("6100010203ABCD");
const std::string k14Bytes = Reply5("610000010203ABCD");
const std::string k12Bytes = Reply5("610001020304");

// clang-format off
const CheckCase kCheckCases[] = {
    //  name                   on the table  answers                     result  row                  sends  beeps
    {"ThirteenBytes",          "",     {k13Bytes},                       true,  "01/02/03 ABCD",        1, 0},
    {"FourteenBytes",          "",     {k14Bytes},                       true,  "01/02/03 ABCD",        1, 0},
    {"SameChecksum",           "ABCD", {k13Bytes},                       true,  "01/02/03 ABCD",        1, 0},
    {"OtherChecksum",          "ABCE", {k14Bytes},                       true,  "01/02/03 ABCD marked", 1, 1},
    {"NoNumericEquality",      "F3A",  {Reply5("61001205310F3A")},       true,  "12/05/31 0F3A marked", 1, 1},
    {"AnyCodeCounts",          "",     {Reply5("E100010203ABCD")},       true,  "01/02/03 ABCD",        1, 0},
    {"OtherLengthsAskAgain",   "",     {k12Bytes, kAccepts, k13Bytes},   true,  "01/02/03 ABCD",        3, 0},
    {"OtherLengthThenSilence", "",     {k12Bytes},                       false, "No Answer red",        4, 0},
    {"GoodOnTheThirdSend",     "",     {kBadCrc, kSilence, k13Bytes},    true,  "01/02/03 ABCD",        3, 0},
    {"Silence",                "ABCD", {},                               false, "No Answer red",        3, 0},
    {"FalseCrc",               "ABCD", {kBadCrc, kBadCrc, kBadCrc},      false, "Communication ERROR red", 3, 0},
    {"ShortAnswerIsNone",      "",     {"682F", "682F", "682F"},         false, "Communication ERROR red", 3, 0},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Answers, FlashCheck, testing::ValuesIn(kCheckCases),
                         testing::PrintToStringParamName());

TEST(FlashCheck, TellsAndLogsEachPass) {
  CommandBench bench;
  bench.Answer({k12Bytes, k13Bytes});
  std::string status;
  bench.world.At(0s, [&] { status = bench.tool.message.Label1.Text(); });
  int y = 5;
  bench.tool.FlashCheck(y);
  EXPECT_EQ(status, "Controller 5 : Checking Flash  (Speed : 9600 Bds) ...");
  EXPECT_EQ(
      bench.EndAndReadLog(),
      (std::vector<std::string>{
          "Message : $73  - Checking Flash", "40 05 01 73 F8 A9 04 ",
          "Recu en String : 40 05 06 61 00 01 02 03 04 A1 F9 04 ", "Communication OK  - CRC checked",
          "Message : $73  - Checking Flash", "40 05 01 73 F8 A9 04 ",
          "Recu en String : 40 05 07 61 00 01 02 03 AB CD 1E B9 04 ", "Communication OK  - CRC checked"}));
}

TEST(FlashCheck, ARedBackgroundOutlivesAnEqualChecksum) {
  CommandBench bench;
  bench.tool.info.FileCheksum.SetText("0000");
  bench.Answer({k13Bytes, k13Bytes});
  int y = 5;
  bench.tool.FlashCheck(y);
  bench.tool.info.FileCheksum.SetText("ABCD");
  bench.tool.FlashCheck(y);
  const TextBox& checksum = bench.tool.info.CkSum(5);
  EXPECT_EQ(checksum.BackColor(), 255);
  EXPECT_EQ(checksum.ForeColor(), 0);
  EXPECT_FALSE(checksum.FontBold());
}

TEST(FlashCheck, CancelEndsTheRepetition) {
  CommandBench bench;
  bench.world.script.assign(1000, {{10ms, FromHex(k12Bytes)}});
  bench.CancelAt(60s);
  int y = 5;
  EXPECT_FALSE(bench.tool.FlashCheck(y));
  EXPECT_EQ(bench.Row(5), "No Answer red");
  EXPECT_LT(bench.world.Time(), 63s);
}

TEST(FlashCheck, AnUnusableProtocolShowsABoxAndGoesOn) {
  CommandBench bench;
  bench.tool.Protocol.SetText("abc");
  bench.Answer({k13Bytes});
  int y = 5;
  EXPECT_TRUE(bench.tool.FlashCheck(y));
  EXPECT_EQ(bench.BoxNumbers(), std::vector<int>{13});
}

}  // namespace
}  // namespace quillon::test
