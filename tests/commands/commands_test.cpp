// What each command sends, and what it makes of the answers: the row of the table, the sendings, the log.
#include <gtest/gtest.h>

#include "commands/flash_check.h"
#include "commands/flash_erase.h"
#include "commands/flash_prog.h"
#include "commands/flash_prog00.h"
#include "commands/frames.h"
#include "commands/protocol_switch.h"
#include "support/image.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

using Texts = std::vector<std::string>;

/// A program with a file chosen and the port open, so that a single command can be tried.
class CommandProgram : public TestProgram {
 public:
  CommandProgram() {
    ChooseHex(kImage);
    tool.MSComm1.SetPortOpen(true);
  }

  /// The answers to the sent frames in turn, in hex; "" is silence, as is everything after them.
  void Answer(const Texts& answers) {
    for (const std::string& answer : answers) {
      computer.script.push_back({});
      if (!answer.empty()) computer.script.back().push_back({10ms, FromHex(answer)});
    }
  }
};

/// An answer of controller 5 with this payload, closed.
std::string Reply5(const std::string& payload) {
  Bytes frame{0x40, 5, static_cast<std::uint8_t>(payload.size() / 2)};
  for (const std::uint8_t byte : FromHex(payload)) frame.push_back(byte);
  return ToHex(bus::CloseFrame(frame));
}

const std::string kAccepts = Reply5("61");
const std::string kRefuses = Reply5("E1");
const std::string kBadCrc = "40050161000004";
const std::string kSilence;

TEST(CommandFrame, GoesOutToTheByteAfterItsLineInTheLog) {
  const struct {
    bool (*command)(Quillon&, int&);
    int number;
    const char* protocol;  // the text of the box
    bool keepSpeed;
    const char* frame;
    const char* log;
  } kCases[] = {
      {&FlashCheck, 0, "63", false, "40000173135904", "Message : $73  - Checking Flash"},
      {&FlashCheck, 5, "4", false, "050501732A7004", "Message : $73  - Checking Flash"},
      {&FlashCheck, 5, "255", false, "00050173963504", "Message : $73  - Checking Flash"},
      {&FlashErase, 2, "63", false, "4002047455AAF0FFBA04", "Message : $74"},
      {&FlashErase, 2, "63", true, "4002047455BBF0CFF804", "Message : $74"},
      {&FlashErase, 5, "4", false, "0505047455AAF093B004", "Message : $74"},
      {&SendP4, 0, "63", false, "401E703430303A342F", "Message : p4 => RUD3"},
      {&SendP4, 31, "4", false, "403D703430303A342F", "Message : p4 => RUD3"},
      {&Send55, 5, "4", false, "40050155BC0D04", "Message : Cmd 55 to return to RUD3"},
  };
  for (const auto& c : kCases) {
    CommandProgram program;
    program.tool.Protocol.SetText(c.protocol);
    program.tool.useBB.SetValue(c.keepSpeed);
    program.tool.AbortRequested = true;  // so that each goes out once
    int y = c.number;
    c.command(program.tool, y);
    EXPECT_EQ(program.Sent(), std::vector{std::string("9600 ") + c.frame});
    EXPECT_EQ(program.EndAndReadLog().front(), c.log);
  }
}

using Command = void (*)(Quillon&, int);

struct OutcomeCase {
  const char* name;
  Command command;
  Texts answers;
  const char* row;
  std::size_t sends;
  const char* lastLog;
};
void PrintTo(const OutcomeCase& c, std::ostream* out) { *out << c.name; }

class Outcome : public testing::TestWithParam<OutcomeCase> {};

TEST_P(Outcome, FillsTheRowAndTheLog) {
  CommandProgram program;
  program.Tick({5});
  program.tool.info.Ver(5).SetText("former");
  program.Answer(GetParam().answers);
  GetParam().command(program.tool, 5);
  EXPECT_EQ(program.Row(5), GetParam().row);
  EXPECT_EQ(program.computer.sent.size(), GetParam().sends);
  EXPECT_FALSE(program.tool.message.Visible());
  EXPECT_EQ(program.EndAndReadLog().back(), GetParam().lastLog);
}

constexpr Command kErase = [](Quillon& tool, int y) { FlashErase(tool, y); };
constexpr Command kTo3 = [](Quillon& tool, int y) { Send55(tool, y); };
constexpr Command kTo4 = [](Quillon& tool, int y) { SendP4(tool, y); };
constexpr Command kCheck = [](Quillon& tool, int y) { FlashCheck(tool, y); };
constexpr Command kAll = [](Quillon& tool, int) { FlashProg(tool); };
constexpr Command kOwn = [](Quillon& tool, int y) { FlashProg00(tool, y); };
const char* const k61 = "Answer : 61";
const char* const kOk = "Communication OK  - CRC checked";
const char* const kFalse = "Communication Error - CRC false 3 time";
const char* const kE1 = "Answer : Failure 3*E1";
const std::string k13 = Reply5("6100010203ABCD");
const std::string k14 = Reply5("610000010203ABCD");
const std::string k12 = Reply5("610001020304");
const std::string kOther = "40060161938A04";  // of another controller
const Texts kRefusals = {kRefuses, kRefuses, kRefuses};
const Texts kShort = {"682F", "682F", "682F"};

// clang-format off
const OutcomeCase kTable[] = {
    {"Erase", kErase, {Reply5("6111223344556677")}, " ", 1, k61},
    {"EraseAnswerOfAnother", kErase, {kOther}, " ", 1, k61},
    {"EraseNineSends", kErase,
     {kBadCrc, kSilence, kRefuses, kSilence, kBadCrc, kRefuses, kBadCrc, kBadCrc, kAccepts}, " ", 9, k61},
    {"EraseRefused", kErase, kRefusals, "Erasing Failure red", 3, kE1},
    {"To3", kTo3, {kAccepts}, " ", 1, "Answer : Ok"},
    {"To3Refused", kTo3, kRefusals, "Erasing Failure red", 3, "Answer : Failure Sending p4 "},
    {"To3ShortAnswerIsNone", kTo3, kShort, "Communication ERROR red", 3, kFalse},
    // The move to protocol 4 touches no row, and what looks like a refusal is an answer.
    {"To4ShortAnswer", kTo4, {"682F"}, "former ", 1, kOk},
    {"To4FrameCounts", kTo4, {kRefuses}, "former ", 1, kOk},
    {"To4Silence", kTo4, {}, "former ", 3, "No Answer"},
    {"CheckThirteenBytes", kCheck, {k13}, "01/02/03 ABCD", 1, kOk},
    {"CheckFourteenBytes", kCheck, {k14}, "01/02/03 ABCD", 1, kOk},
    {"CheckAnyCode", kCheck, {Reply5("E100010203ABCD")}, "01/02/03 ABCD", 1, kOk},
    {"CheckOtherLengthsAskAgain", kCheck, {k12, kAccepts, k13}, "01/02/03 ABCD", 3, kOk},
    {"CheckOtherLengthThenSilence", kCheck, {k12}, "No Answer red", 4, "No Answer"},
    // Two batches and the checksum; nobody is to answer a batch to all.
    {"AllOnTheThirdTry", kAll, {"FF", "FF", kRefuses, kRefuses, kAccepts}, " ", 5, k61},
    {"AllRefused", kAll, {"", "", kRefuses, kRefuses, kRefuses}, "communication Failure red", 5, kE1},
    {"OwnThirdTries", kOwn,
     {kRefuses, kRefuses, kAccepts, kRefuses, kRefuses, kAccepts, kRefuses, kRefuses, kAccepts}, " ", 9, k61},
    {"OwnSilentBatch", kOwn, {kAccepts}, "former ", 4, "No Answer"},
    {"OwnRefusedBatch", kOwn, {kAccepts, kRefuses, kRefuses, kRefuses}, "communication Failure red", 4, kE1},
    {"OwnRefusedChecksum", kOwn, {kAccepts, kAccepts, kRefuses, kRefuses, kRefuses},
     "communication Failure red", 5, "Communication Failure - 3 * E1"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Commands, Outcome, testing::ValuesIn(kTable), testing::PrintToStringParamName());

TEST(MoveToProtocol4, ShowsABoxOnlyWhenItWorked) {
  CommandProgram program;
  program.Answer({"682F"});
  for (int i = 0; i < 2; ++i) kTo4(program.tool, 5);
  EXPECT_EQ(program.computer.boxes,
            (std::vector<ShownBox>{{"send p4 OK!!!", "Quillon", BoxKind::kInformation}}));
}

TEST(FlashCheck, MarksAnotherTextOfTheChecksumAndTheRedBackgroundStays) {
  CommandProgram program;
  const std::string answer = Reply5("61001205310F3A");
  program.Answer({answer, answer});
  program.tool.info.FileCheksum.SetText("F3A");
  kCheck(program.tool, 5);
  EXPECT_EQ(program.Row(5), "12/05/31 0F3A marked");
  program.tool.info.FileCheksum.SetText("0F3A");
  kCheck(program.tool, 5);
  EXPECT_EQ(program.Row(5), "12/05/31 0F3A");
  EXPECT_EQ(program.tool.info.CkSum(5).BackColor(), colour::kRed);
  EXPECT_EQ(program.computer.beeps, 1);
}

TEST(FullChecksumFrame, CarriesThreeBytesOfTheChecksum) {
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "DEBE4E")), "40030775AA550FDEBE4E0ABC04");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "A1B1C")), "40030775AA550FA1B10C863D04") << "a digit stands alone";
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "5")), "40030775AA550F000005B08404");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "FFFFDF21")), "40030775AA550FFFFFDF162F04") << "the first six digits";
}

TEST(BatchFrame, CarriesAddressAndUpTo249BytesToAll) {
  EXPECT_EQ(ToHex(BatchFrame(0x5F, FromHex("010011223355"))), "405F0A75AA5510010011223355651B04");
  EXPECT_EQ(BatchFrame(0x5F, Bytes(251))[2], 255);
  EXPECT_THROW(BatchFrame(0x5F, Bytes(252)), RunError);
}

TEST(FlashProg, PausesAfterEachBatch) {
  const struct {
    const char* delay;
    Nanoseconds between;  // one batch and the next; each yield takes a millisecond of it
    std::size_t boxes;
  } kCases[] = {{"10", 11ms, 0}, {"0", 1ms, 0}, {"-5", 1ms, 0}, {"32767", 32768ms, 0}, {"32768", 1ms, 2}};
  for (const auto& c : kCases) {
    CommandProgram program;
    program.tool.Text2.SetText(c.delay);
    FlashProg(program.tool);
    const auto pause = program.computer.sent[1].at - program.computer.sent[0].at;
    EXPECT_EQ(std::chrono::floor<std::chrono::milliseconds>(pause), c.between) << c.delay;
    EXPECT_EQ(program.computer.boxes.size(), c.boxes);
    for (const ShownBox& box : program.computer.boxes)
      EXPECT_NE(box.text.find(" Parallel Waiting Delay "), std::string::npos) << box.text;
  }
}

TEST(FlashProg, NothingHappensInThePause) {
  CommandProgram program;
  program.tool.Text2.SetText("1000");
  Nanoseconds acted{};
  program.computer.At(500ms, [&] { acted = program.computer.Time(); });
  FlashProg(program.tool);
  EXPECT_GE(acted, 1000ms);
}

TEST(FlashProg, ABatchThatFitsNoFrameIsLeftOut) {
  CommandProgram program;
  program.ChooseHex({HexRecord(0, Bytes(255, 1)), HexRecord(0x1000, Bytes(1, 2)), ":00000001FF"}, "long.hex");
  FlashProg(program.tool);
  ASSERT_EQ(program.BoxNumbers(), std::vector<int>{6});
  EXPECT_EQ(
      program.computer.boxes[0].text,
      "Error #  6\rOverflow: a batch of 257 bytes does not fit into a frame. Create the HEX file again with "
      "lines of at most 128 data bytes.");
  EXPECT_EQ(program.Sent(), Texts{"9600 " + ToHex(bus::CloseFrame(FromHex("405F0775AA5510100002")))});
}

TEST(FlashProg, GoesOnWhereAStepFails) {
  CommandProgram program;
  program.Tick({3, 4});
  int failures = 3;
  program.computer.beforeOperation = [&] {
    if (program.computer.sent.size() == 1 && failures-- > 0) throw RunError(RunError::kDeviceFailed, "gone");
  };
  FlashProg(program.tool);
  EXPECT_EQ(program.BoxNumbers(), (std::vector<int>{8020, 8020, 8020}))
      << "the second batch, the flush, one sum";
  EXPECT_EQ(program.Sent().size(), 4u) << "the other sum goes out, three times";
}

TEST(FlashProg, AFileThatWentAwayConfirmsZeros) {
  CommandProgram program;
  program.Tick({3});
  std::remove(program.tool.FileName.Text().c_str());
  FlashProg(program.tool);
  EXPECT_EQ(program.BoxNumbers(), (std::vector<int>{53, 0}));
  EXPECT_EQ(program.Sent(), Texts(3, "9600 40030775AA550F000000E02104"));
}

TEST(FlashProg00, ARunFailureEndsThePassAfterOneBox) {
  CommandProgram program;
  program.tool.Text1.SetText("soon");
  int y = 5;
  FlashProg00(program.tool, y);
  EXPECT_EQ(program.BoxNumbers(), std::vector<int>{13});
  EXPECT_TRUE(program.tool.message.Visible()) << "the caller closes it";
}

}  // namespace
}  // namespace quillon::test
