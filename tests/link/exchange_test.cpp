#include <gtest/gtest.h>

#include "link/exchange.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

using enum ExchangeResult;

using Log = std::vector<std::string>;
using Replies = std::vector<std::vector<Reply>>;

const Bytes kFrame = FromHex("40050173F8A904");
const Bytes kGood = FromHex("40050161CADA04");
const Bytes kBad = FromHex("40050161CADB04");
const Bytes kHead = FromHex("40050161");  // the good answer in two pieces
const Bytes kTail = FromHex("CADA04");
const char* const kGoodRead = "Recu en String : 40 05 01 61 CA DA 04 ";
const char* const kBadRead = "Recu en String : 40 05 01 61 CA DB 04 ";
const std::string kJoined = "40 05 01 73 F8 A9 04 40 05 01 61 CA DA 04 ";
const char* const kOk = "Communication OK  - CRC checked";
const Log kGoodLog = {kGoodRead, kOk};
const char* const kNone = "No Answer";
const char* const kFalse = "Communication Error - CRC false 3 time";

Replies Thrice(const std::vector<Reply>& replies) { return {replies, replies, replies}; }
Log BadLog(const std::string& read) {
  return {"Recu en String : " + read, "Recu en String : " + read, "Recu en String : " + read, kFalse};
}

struct ExchangeCase {
  const char* name;
  int timeOut;      // ms
  Replies replies;  // to each sending in turn, timed from it
  ExchangeResult result;
  std::size_t sends;
  Nanoseconds endsAt;
  Log log;
  std::string answer = "before";
  Nanoseconds cancelAt = 0ms;  // 0: not at all
  ShortAnswer shortAnswer = ShortAnswer::kIsBad;
};
void PrintTo(const ExchangeCase& row, std::ostream* out) { *out << row.name; }

/// A program whose port is open.
class OpenLine : public TestProgram {
 public:
  OpenLine() { tool.MSComm1.SetPortOpen(true); }

  std::string answer = "before";

  ExchangeResult Send(ShortAnswer shortAnswer = ShortAnswer::kIsBad) {
    return SendFrame(tool, kFrame, answer, shortAnswer);
  }
};

class ExchangeOutcome : public testing::TestWithParam<ExchangeCase> {};

TEST_P(ExchangeOutcome, HasResultSendsEndAndLog) {
  const ExchangeCase& row = GetParam();
  OpenLine line;
  line.tool.Text1.SetText(std::to_string(row.timeOut));
  line.computer.script.assign(row.replies.begin(), row.replies.end());
  if (row.cancelAt > 0ms) line.CancelAt(row.cancelAt);

  EXPECT_EQ(line.Send(row.shortAnswer), row.result);

  EXPECT_EQ(line.answer, row.answer);
  EXPECT_EQ(line.Sent(), std::vector<std::string>(row.sends, "9600 40050173F8A904"));
  EXPECT_GE(line.computer.Time(), row.endsAt);
  EXPECT_LE(line.computer.Time(), row.endsAt + 6ms);  // each time-out is noticed up to 1 ms late
  EXPECT_EQ(line.EndAndReadLog(), row.log);
}

const char* const kTaken = "40050161CADA04";

// clang-format off
const ExchangeCase kTable[] = {
    // name, time-out, replies, result, sends, ends at, log, answer
    {"Prompt", 500, {{{10ms, kGood}}}, kAnswered, 1, 510ms, kGoodLog, kTaken},
    {"InPieces", 500, {{{10ms, kHead}, {509ms, kTail}}}, kAnswered, 1, 510ms, kGoodLog, kTaken},
    {"LateTakenForTheSecondSend", 500, {{{1200ms, kGood}}}, kAnswered, 2, 1700ms, kGoodLog, kTaken},
    {"BadBadGood", 500, {{{10ms, kBad}}, {{10ms, kBad}}, {{10ms, kGood}}}, kAnswered, 3, 1530ms,
     {kBadRead, kBadRead, kGoodRead, kOk}, kTaken},
    {"TwoEchoesThenAnswer", 1000, {{{2ms, kFrame}, {600ms, kFrame}, {1900ms, kGood}}}, kAnswered, 1, 2400ms,
     kGoodLog, kTaken},
    {"EchoOnlyThenGood", 500, {{{2ms, kFrame}}, {{10ms, kGood}}}, kAnswered, 2, 1012ms, kGoodLog, kTaken},
    {"ShortTaken", 500, {{{10ms, {0x68, 0x2F}}}}, kAnswered, 1, 510ms,
     {"Recu en String : 68 2F ", kOk}, "before", 0ms, ShortAnswer::kIsGood},

    {"Silence", 500, {}, kNoAnswer, 3, 3000ms, {kNone}},
    {"OnlyEcho", 500, Thrice({{2ms, kFrame}}), kNoAnswer, 3, 1506ms, {kNone}},
    {"CancelInTheFirstWait", 500, {}, kNoAnswer, 1, 100ms, {}, "before", 100ms},
    {"CancelInTheWaitAfterEcho", 2000, {{{2ms, kFrame}}}, kNoAnswer, 1, 1000ms, {}, "before", 1000ms},
    {"CancelInABadAnswersPause", 500, {{{10ms, kBad}}}, kNoAnswer, 2, 510ms, {kBadRead}, "before", 200ms},

    {"FalseCrc", 500, Thrice({{10ms, kBad}}), kBadAnswer, 3, 1530ms, BadLog("40 05 01 61 CA DB 04 ")},
    {"SilenceSilenceBad", 500, {{}, {}, {{10ms, kBad}}}, kBadAnswer, 3, 2510ms, {kBadRead, kFalse}},
    {"BadBadSilence", 500, {{{10ms, kBad}}, {{10ms, kBad}}}, kNoAnswer, 3, 2020ms, {kBadRead, kBadRead, kNone}},
    {"ShortAnswerAndAnEndByte", 500, Thrice({{10ms, {0x68, 0x2F, 0x04}}}), kBadAnswer, 3, 1530ms,
     BadLog("68 2F 04 "), "before", 0ms, ShortAnswer::kIsGood},
    {"OtherTwoBytes", 500, Thrice({{10ms, {0x68, 0x2E}}}), kBadAnswer, 3, 1530ms, BadLog("68 2E "), "before",
     0ms, ShortAnswer::kIsGood},
    {"GoodAndAByteMore", 500, Thrice({{10ms, kGood}, {10ms, {0}}}), kBadAnswer, 3, 1530ms,
     BadLog("40 05 01 61 CA DA 04 00 ")},
    {"ShorterThanItSays", 500, Thrice({{10ms, FromHex("40050961437304")}}), kBadAnswer, 3, 1530ms,
     BadLog("40 05 09 61 43 73 04 ")},
    {"EchoAndAnswerInOneRead", 500, Thrice({{2ms, kFrame}, {20ms, kGood}}), kBadAnswer, 3, 1506ms,
     BadLog(kJoined)},
    {"TornByThePause", 500, {{{10ms, kHead}, {515ms, kTail}}, {}, {{10ms, kBad}}}, kBadAnswer, 3, 1525ms,
     {"Recu en String : 40 05 01 61 ", "Recu en String : CA DA 04 ", kBadRead, kFalse}},
    {"WhatWaitsJoinsTheNextRead", 500, {{{1100ms, kFrame}}, {{150ms, kGood}}, {{10ms, kBad}}}, kBadAnswer,
     3, 2110ms,
     {"Recu en String : " + kJoined, kBadRead, kFalse}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Link, ExchangeOutcome, testing::ValuesIn(kTable), testing::PrintToStringParamName());

TEST(Exchange, RefusesEverySingleWrongBitButThoseOfTheLastByte) {
  const Bytes good = FromHex("40050761120307011E02D08004");
  OpenLine line;
  for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
    Bytes answer = good;
    answer[bit / 8] ^= static_cast<std::uint8_t>(1 << bit % 8);
    line.answer = "before";
    line.computer.script.assign(3, {{1ms, answer}});
    const bool inLastByte = bit / 8 == 12;
    EXPECT_EQ(line.Send(), inLastByte ? kAnswered : kBadAnswer) << "bit " << bit;
    EXPECT_EQ(line.answer, inLastByte ? ToHex(answer) : "before") << "bit " << bit;
  }
}

TEST(Exchange, TakesThreeBytesForAnAnswerWhereTheyCarryTheirCrc) {
  EXPECT_TRUE(CrcMatches({0x01, 0xEF, 0x30}));
  EXPECT_FALSE(CrcMatches({0x01, 0xEF, 0x31}) || CrcMatches({0x01, 0xEF}));
}

TEST(Exchange, TakesAnyWholeNumberOfMillisecondsAsTimeOut) {
  for (const auto& [timeOut, wait] : {std::pair("0", 0ms), {"-5", 0ms}, {"40000", 40000ms}}) {
    OpenLine line;
    line.tool.Text1.SetText(timeOut);
    EXPECT_EQ(line.Send(), kNoAnswer);
    EXPECT_GE(line.computer.Time(), 3 * (wait + 500ms)) << timeOut;
    EXPECT_LE(line.computer.Time(), 3 * (wait + 502ms)) << timeOut;
  }
}

TEST(Exchange, ReadsTheTimeOutOncePerCall) {
  OpenLine line;
  line.computer.At(50ms, [&] { line.tool.Text1.SetText("nonsense"); });
  EXPECT_EQ(line.Send(), kNoAnswer);
  EXPECT_GE(line.computer.Time(), 3000ms);
}

TEST(Exchange, RaisesAndSendsNothingWithoutATimeOut) {
  OpenLine line;
  for (const auto& [timeOut, number] : {std::pair("", 13), {"soon", 13}, {"2147483648", 6}}) {
    line.tool.Text1.SetText(timeOut);
    EXPECT_EQ(FailureNumber([&] { line.Send(); }), number) << timeOut;
  }
  EXPECT_TRUE(line.computer.sent.empty());
}

}  // namespace
}  // namespace quillon::test
