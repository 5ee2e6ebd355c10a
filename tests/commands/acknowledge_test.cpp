// The commands that a controller has to acknowledge with the code $61.
#include <gtest/gtest.h>

#include <algorithm>

#include "commands/command_bench.h"

namespace quillon::test {
namespace {

using Command = bool (Quillon::*)(int&);

struct AcknowledgeCase {
  const char* name;
  Command command;
  std::vector<std::string> answers;
  bool result;
  const char* row;
  std::size_t sends;
  const char* lastLog;
};
void PrintTo(const AcknowledgeCase& c, std::ostream* out) { *out << c.name; }

class Acknowledge : public testing::TestWithParam<AcknowledgeCase> {};

TEST_P(Acknowledge, DecidesTheCommand) {
  CommandBench bench;
  bench.tool.info.Ver(5).SetText("former");
  bench.tool.info.Ver(5).SetForeColor(255);
  bench.Answer(GetParam().answers);
  int y = 5;
  EXPECT_EQ((bench.tool.*GetParam().command)(y), GetParam().result);
  EXPECT_EQ(bench.Row(5), GetParam().row);
  EXPECT_EQ(bench.world.sent.size(), GetParam().sends);
  EXPECT_FALSE(bench.tool.message.Visible());
  const auto log = bench.EndAndReadLog();
  EXPECT_EQ(log.back(), GetParam().lastLog);
  EXPECT_EQ(std::count(log.begin(), log.end(), log.front()), 1) << "the message is logged once per command";
}

constexpr Command kErase = &Quillon::FlashErase;
constexpr Command kTo3 = &Quillon::Send55;
constexpr Command kTo4 = &Quillon::SendP4;
const std::string kLongAcceptance = Reply5("6111223344556677");
const std::string kOtherController = "40060161938A04";
const char* const kNoAnswerLog = "No Answer";
const char* const kFalseLog = "Communication Error - CRC false 3 time";
const char* const kOkLog = "Communication OK  - CRC checked";
const char* const kRefusedLog = "Answer : Failure 3*E1";
const char* const kNotMovedLog = "Answer : Failure Sending p4 ";

// clang-format off
const AcknowledgeCase kAcknowledgeCases[] = {
    //  name                     command  answers                               result  row                sends  log
    {"Erase",                    kErase, {kAccepts},                            true,  " ",                   1, "Answer : 61"},
    {"EraseAnyLength",           kErase, {kLongAcceptance},                     true,  " ",                   1, "Answer : 61"},
    {"EraseAnswerOfAnother",     kErase, {kOtherController},                    true,  " ",                   1, "Answer : 61"},
    {"EraseOnTheThirdTry",       kErase, {kRefuses, kRefuses, kAccepts},        true,  " ",                   3, "Answer : 61"},
    {"EraseRefused",             kErase, {kRefuses, kRefuses, kRefuses},        false, "Erasing Failure red", 3, kRefusedLog},
    {"EraseNineSends",           kErase,
     {kBadCrc, kSilence, kRefuses, kSilence, kBadCrc, kRefuses, kBadCrc, kBadCrc, kAccepts},
                                                                                true,  " ",                   9, "Answer : 61"},
    {"EraseRefusedThenSilence",  kErase, {kRefuses},                            false, "No Answer red",       4, kNoAnswerLog},
    {"EraseSilence",             kErase, {},                                    false, "No Answer red",       3, kNoAnswerLog},
    {"EraseFalseCrc",            kErase, {kBadCrc, kBadCrc, kBadCrc},           false, "Communication ERROR red", 3, kFalseLog},
    {"To3",                      kTo3,   {kAccepts},                            true,  " ",                   1, "Answer : Ok"},
    {"To3OnTheThirdTry",         kTo3,   {kRefuses, kRefuses, kAccepts},        true,  " ",                   3, "Answer : Ok"},
    {"To3Refused",               kTo3,   {kRefuses, kRefuses, kRefuses},        false, "Erasing Failure red", 3, kNotMovedLog},
    {"To3ShortAnswerIsNone",     kTo3,   {"682F", "682F", "682F"},              false, "Communication ERROR red", 3, kFalseLog},
    {"To3Silence",               kTo3,   {},                                    false, "No Answer red",       3, kNoAnswerLog},
    // The move to protocol 4 touches no row, and what looks like a refusal is an answer.
    {"To4ShortAnswer",           kTo4,   {"682F"},                              true,  "former  red",         1, kOkLog},
    {"To4FrameCounts",           kTo4,   {kRefuses},                            true,  "former  red",         1, kOkLog},
    {"To4ShortAnswerAndMore",    kTo4,   {"682F04", "682F04", "682F04"},        false, "former  red",         3, kFalseLog},
    {"To4Silence",               kTo4,   {},                                    false, "former  red",         3, kNoAnswerLog},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Answers, Acknowledge, testing::ValuesIn(kAcknowledgeCases),
                         testing::PrintToStringParamName());

TEST(MoveToProtocol4, ShowsABoxOnlyWhenItWorked) {
  CommandBench bench;
  bench.Answer({"682F"});
  bench.tool.AnswerText = "former";
  int y = 5;
  bench.tool.SendP4(y);
  bench.tool.SendP4(y);
  EXPECT_EQ(bench.world.boxes, (std::vector<ShownBox>{{"send p4 OK!!!", "Quillon"}}));
  EXPECT_EQ(bench.tool.AnswerText, "former");
  EXPECT_EQ(bench.EndAndReadLog(),
            (std::vector<std::string>{"Message : p4 => RUD3", "40 23 70 34 30 30 3A 34 2F ",
                                      "Recu en String : 68 2F ", kOkLog, "Message : p4 => RUD3",
                                      "40 23 70 34 30 30 3A 34 2F ", kNoAnswerLog}));
}

TEST(CommandRunFailure, FailsTheCommandBehindOneBoxAndReadsNoFormerAnswer) {
  const std::pair<Command, const char*> kCommands[] = {
      {&Quillon::FlashCheck, "Quillon Error"}, {kErase, "Quillon Error"}, {kTo3, "Send55"}, {kTo4, "SendP4"}};
  for (const auto& [command, title] : kCommands) {
    CommandBench bench;
    bench.tool.info.Ver(5).SetText("former");
    bench.tool.AnswerText = "4005076100010203ABCD1EB904";
    bench.world.beforeOperation = [] { throw RunError(RunError::kDeviceFailed, "gone"); };
    int y = 5;
    EXPECT_FALSE((bench.tool.*command)(y));
    EXPECT_EQ(bench.world.boxes, (std::vector<ShownBox>{{"Error #  8020\rgone", title}}));
    EXPECT_EQ(bench.Row(5), "former ");
    EXPECT_FALSE(bench.tool.message.Visible());
  }
}

}  // namespace
}  // namespace quillon::test
