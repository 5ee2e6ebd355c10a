#include <gtest/gtest.h>

#include "commands/command_bench.h"
#include "support/image.h"

namespace quillon::test {
namespace {

using Log = std::vector<std::string>;

const std::string kBatch1 = "405F0A75AA5510000001020304F29B04";
const std::string kBatch2 = "405F1A75AA55102010000000000031320030350033310000002000410579DF04";
const std::string kSum5 = "40050775AA550FDF07B6AD8604";
const std::string kOwnBatch1 = "40050A75AA551000000102030405C904";
const std::string kOwnBatch2 = "40051A75AA551020100000000000313200303500333100000020004105D95D04";

/// A bench with a firmware file chosen.
class ProgrammingBench : public CommandBench {
 public:
  ProgrammingBench() { ChooseHex(kImage); }

  Log SentFrames() const {
    Log frames;
    for (const SentBytes& frame : world.sent) frames.push_back(ToHex(frame.bytes));
    return frames;
  }
};

TEST(FlashProg, SendsEachBatchOnceAndThenTheChecksumToEachTicked) {
  ProgrammingBench bench;
  bench.Tick({3, 5});
  bench.Answer({"", "", kAccepts, kAccepts});
  bench.tool.FlashProg();
  EXPECT_EQ(bench.SentFrames(), (Log{kBatch1, kBatch2, "40030775AA550FDF07B6F70E04", kSum5}));
  EXPECT_FALSE(bench.tool.message.Visible());
  EXPECT_EQ(
      bench.EndAndReadLog(),
      (Log{"Programming 5F without answer", "40 5F 0A 75 AA 55 10 00 00 01 02 03 04 F2 9B 04 ",
           "40 5F 1A 75 AA 55 10 20 10 00 00 00 00 00 31 32 00 30 35 00 33 31 00 00 00 20 00 41 05 79 DF 04 ",
           "Message : $75 Sending Full checksum", "40 03 07 75 AA 55 0F DF 07 B6 F7 0E 04 ",
           "Recu en String : 40 05 01 61 CA DA 04 ", "Communication OK  - CRC checked", "Answer : 61",
           "Message : $75 Sending Full checksum", "40 05 07 75 AA 55 0F DF 07 B6 AD 86 04 ",
           "Recu en String : 40 05 01 61 CA DA 04 ", "Communication OK  - CRC checked", "Answer : 61"}));
}

TEST(FlashProg, PausesBehindEachBatch) {
  const struct {
    const char* delay;
    Nanoseconds between;  // one batch and the next; each yield takes a millisecond of it
    std::size_t boxes;
  } kCases[] = {{"10", 11ms, 0},       {"0", 1ms, 0},     {"2.5", 3ms, 0}, {"-5", 1ms, 0},
                {"32767", 32768ms, 0}, {"32768", 2ms, 2}, {"", 2ms, 2}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.delay);
    ProgrammingBench bench;
    bench.tool.Text2.SetText(c.delay);
    bench.tool.FlashProg();
    ASSERT_EQ(bench.world.sent.size(), 2u);
    EXPECT_EQ(std::chrono::floor<std::chrono::milliseconds>(bench.world.sent[1].at - bench.world.sent[0].at),
              c.between);
    EXPECT_EQ(bench.world.boxes.size(), c.boxes);
  }
}

TEST(FlashProg, NothingHappensInThePause) {
  ProgrammingBench bench;
  bench.tool.Text2.SetText("1000");
  Nanoseconds acted{};
  bench.world.At(500ms, [&] { acted = bench.world.Time(); });
  bench.tool.FlashProg();
  EXPECT_GE(acted, 1000ms);
}

TEST(FlashProg, ABatchThatFitsNoFrameIsLeftOut) {
  CommandBench bench;
  bench.ChooseHex({HexRecord(0, Bytes(255, 1)), HexRecord(0x1000, Bytes(1, 2)), ":00000001FF"});
  bench.tool.FlashProg();
  EXPECT_EQ(bench.BoxNumbers(), std::vector<int>{6});
  ASSERT_EQ(bench.world.sent.size(), 1u);
  EXPECT_EQ(bench.world.sent[0].bytes, Closed(FromHex("405F0775AA5510100002")));
}

TEST(FlashProg, AFileThatWentAwayConfirmsZeros) {
  ProgrammingBench bench;
  bench.Tick({3});
  std::remove((bench.world.folder + "image.hex").c_str());
  bench.tool.FlashProg();
  EXPECT_EQ(bench.BoxNumbers(), (std::vector<int>{53, 0}));
  EXPECT_EQ(bench.world.boxes.back(), (ShownBox{"File not Found!", "Quillon"}));
  EXPECT_EQ(bench.SentFrames(), (Log(3, "40030775AA550F000000E02104")));
  EXPECT_EQ(bench.Row(3), "No Answer red");
}

struct PassCase {
  const char* name;
  bool serial;
  Log answers;
  const char* row;
  std::size_t sends;
  const char* lastLog;
};
void PrintTo(const PassCase& c, std::ostream* out) { *out << c.name; }

class ProgrammingPass : public testing::TestWithParam<PassCase> {};

TEST_P(ProgrammingPass, ShowsHowItEnded) {
  ProgrammingBench bench;
  bench.Tick({5});
  bench.tool.info.Ver(5).SetText("former");
  bench.Answer(GetParam().answers);
  int y = 5;
  GetParam().serial ? bench.tool.FlashProg00(y) : bench.tool.FlashProg();
  EXPECT_EQ(bench.Row(5), GetParam().row);
  EXPECT_EQ(bench.world.sent.size(), GetParam().sends);
  EXPECT_FALSE(bench.tool.message.Visible());
  EXPECT_EQ(bench.EndAndReadLog().back(), GetParam().lastLog);
}

const char* const kRefusedLog = "Answer : Failure 3*E1";
const char* const kFalseLog = "Communication Error - CRC false 3 time";
// clang-format off
const PassCase kPassCases[] = {
    //  name                  serial answers                                     row                       sends log
    {"Confirmed",              false, {"", "", kAccepts},                         " ",                         3, "Answer : 61"},
    {"StrayBytesAreDropped",   false, {"FF", "FF", kAccepts},                     " ",                         3, "Answer : 61"},
    {"ConfirmedOnTheThirdTry", false, {"", "", kRefuses, kRefuses, kAccepts},     " ",                         5, "Answer : 61"},
    {"Refused",                false, {"", "", kRefuses, kRefuses, kRefuses},     "communication Failure red", 5, kRefusedLog},
    {"Unconfirmed",            false, {},                                         "No Answer red",             5, "No Answer"},
    {"FalseCrc",               false, {"", "", kBadCrc, kBadCrc, kBadCrc},        "Communication ERROR red",   5, kFalseLog},
    {"Serial",                 true,  {kAccepts, kAccepts, kAccepts},             " ",                         3, "Answer : 61"},
    {"SerialThirdTries",       true,
     {kRefuses, kRefuses, kAccepts, kRefuses, kRefuses, kAccepts, kRefuses, kRefuses, kAccepts},
                                                                                  " ",                         9, "Answer : 61"},
    {"SerialSilentBatch",      true,  {kAccepts},                                 "former ",                   4, "No Answer"},
    {"SerialFalseBatch",       true,  {kAccepts, kBadCrc, kBadCrc, kBadCrc},      "former ",                   4, kFalseLog},
    {"SerialShortAnswer",      true,  {"682F", "682F", "682F"},                   "former ",                   3, kFalseLog},
    {"SerialRefusedBatch",     true,  {kAccepts, kRefuses, kRefuses, kRefuses},   "communication Failure red", 4, kRefusedLog},
    {"SerialUnconfirmed",      true,  {kAccepts, kAccepts},                       "No Answer red",             5, "No Answer"},
    {"SerialRefusedChecksum",  true,  {kAccepts, kAccepts, kRefuses, kRefuses, kRefuses},
                                                                                  "communication Failure red", 5,
     "Communication Failure - 3 * E1"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Answers, ProgrammingPass, testing::ValuesIn(kPassCases),
                         testing::PrintToStringParamName());

TEST(FlashProg00, SendsEachBatchToTheOneController) {
  ProgrammingBench bench;
  bench.Answer({kAccepts, kRefuses, kAccepts, kAccepts});
  int y = 5;
  bench.tool.FlashProg00(y);
  EXPECT_EQ(bench.SentFrames(), (Log{kOwnBatch1, kOwnBatch2, kOwnBatch2, kSum5}));
  EXPECT_EQ(
      bench.EndAndReadLog(),
      (Log{"******** PROGRAMMATION DU CTRL 5 **********", "Message : $75 - Programmation Batch 1",
           "40 05 0A 75 AA 55 10 00 00 01 02 03 04 05 C9 04 ", "Recu en String : 40 05 01 61 CA DA 04 ",
           "Communication OK  - CRC checked", "Answer : 61", "Message : $75 - Programmation Batch 2",
           "40 05 1A 75 AA 55 10 20 10 00 00 00 00 00 31 32 00 30 35 00 33 31 00 00 00 20 00 41 05 D9 5D 04 ",
           "Recu en String : 40 05 01 E1 5B 52 04 ", "Communication OK  - CRC checked",
           "Recu en String : 40 05 01 61 CA DA 04 ", "Communication OK  - CRC checked", "Answer : 61",
           "Message : $75 Sending Full Checksum", "40 05 07 75 AA 55 0F DF 07 B6 AD 86 04 ",
           "Recu en String : 40 05 01 61 CA DA 04 ", "Communication OK  - CRC checked", "Answer : 61"}));
}

TEST(FlashProg00, ARunFailureEndsThePassBehindOneBox) {
  ProgrammingBench bench;
  bench.tool.Text1.SetText("soon");
  int y = 5;
  bench.tool.FlashProg00(y);
  EXPECT_EQ(bench.BoxNumbers(), std::vector<int>{13});
  EXPECT_TRUE(bench.world.sent.empty());
  EXPECT_TRUE(bench.tool.message.Visible()) << "the caller closes it";
}

}  // namespace
}  // namespace quillon::test
