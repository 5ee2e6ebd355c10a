// Whole runs: what goes over the line, and what the table shows after them.
#include <gmock/gmock.h>

#include "workflows/run_program.h"

namespace quillon::test {
namespace {

using bus::BootProtocol;
using bus::Command;
using bus::ControllerSetup;
using bus::Fault;

TEST(Download, SendsFromEraseOverProgrammingToTheCheck) {
  const std::pair<Button, Texts> kFrames[] = {
      {kParallel,
       {"9600 4003047455AAF0BA1A04", "9600 4005047455AAF037FB04", "38400 405F0A75AA5510000001020304F29B04",
        "38400 405F1A75AA55102010000000000031320030350033310000002000410579DF04",
        "38400 40030775AA550FDF07B6F70E04", "38400 40050775AA550FDF07B6AD8604", "19200 410301733CBD04",
        "19200 410501738E1D04"}},
      {kSerial,
       {"9600 4003047455AAF0BA1A04", "38400 40030A75AA55100000010203040EF704",
        "38400 40031A75AA551020100000000000313200303500333100000020004105022504",
        "38400 40030775AA550FDF07B6F70E04", "19200 410301733CBD04"}}};
  for (const auto& [button, frames] : kFrames) {
    RunProgram program({{.number = 3}, {.number = 5}});
    program.ChooseHex(kImage);
    program.Tick({3});
    program.tool.C(5).SetValue(button == kParallel);
    program.Press(button);
    EXPECT_EQ(program.Sent(), frames);
    EXPECT_TRUE(program.tool.info.Visible());
    EXPECT_EQ(program.tool.info.FileCheksum.Text(), "07B6");
    EXPECT_EQ(program.tool.Protocol.Text() + " " + program.tool.Vitesse.Text(), "64 19200");
  }
}

/// What is not usual in a run, and what is left of it beside the rows.
struct Extra {
  const char* protocol = "63";
  bool prot3 = false;      // "Prot 3" is ticked
  bool keepSpeed = false;  // the speed is kept for programming
  std::vector<int> boxes = {};
  int beeps = 0;
};
struct RunCase {
  const char* name;
  Button button;
  Texts file;
  std::vector<ControllerSetup> controllers;  // of numbers 3 and 5, which are ticked
  const char* talk;
  Texts rows;
  Extra extra = {};
};
void PrintTo(const RunCase& c, std::ostream* out) { *out << c.name; }

class Run : public testing::TestWithParam<RunCase> {};

TEST_P(Run, TakesItsCourse) {
  const RunCase& c = GetParam();
  RunProgram program(c.controllers);
  program.ChooseHex(c.file);
  program.Tick({3, 5});
  program.tool.Protocol.SetText(c.extra.protocol);
  program.tool.RUD3.SetValue(c.extra.prot3);
  program.tool.useBB.SetValue(c.extra.keepSpeed);
  program.Press(c.button);
  EXPECT_EQ(program.Talk(), c.talk);
  EXPECT_EQ(program.Rows(), c.rows);
  EXPECT_EQ(program.BoxNumbers(), c.extra.boxes);
  EXPECT_EQ(program.computer.beeps, c.extra.beeps);
  EXPECT_FALSE(program.tool.message.Visible());
  const bool endedByAFailure = c.button == kParallel && c.extra.boxes == std::vector{383};
  EXPECT_EQ(program.computer.open, endedByAFailure);
}

/// The usual image with another record in the place of the one that tells the rate.
Texts ImageWith(const char* record) {
  Texts lines = kImage;
  lines[3] = record;
  return lines;
}

const Texts kNoRate = ImageWith(":042020007F004105F7");
const Texts k57600 = ImageWith(":042020004000410536");  // which the list of speeds lacks
const Texts kErased = {":00000001FF"};                  // checksum 1E02
const Texts kBothGood = {"12/05/31 07B6", "12/05/31 07B6"};
const Texts kSecondGood = {"No Answer red", "12/05/31 07B6"};
const Texts kBothBoot = {"01/00/00 B007", "01/00/00 B007"};
const Texts kEmpty = {" ", " "};

const std::vector<ControllerSetup> kBoth = {{.number = 3}, {.number = 5}};
const std::vector<ControllerSetup> kOfProtocol3 = {{.number = 3, .protocol3 = true},
                                                   {.number = 5, .protocol3 = true}};
/// Controller 3 as told, and 5 as the image makes it and at the speed of programming.
std::vector<ControllerSetup> ThreeWith(Fault fault) {
  return {{.number = 3, .faults = {fault}}, {.number = 5, .baud = 38400, .protocol = 0x41}};
}
std::vector<ControllerSetup> BootBy(BootProtocol protocol) {
  return {{.number = 3, .protocol = 5, .bootProtocol = protocol},
          {.number = 5, .protocol = 5, .bootProtocol = protocol}};
}
const Fault kDead{.kind = Fault::Kind::Dead};
const Fault kLosesBatch1{.kind = Fault::Kind::Silent, .first = 1, .last = 1, .command = Command::Batch};
const Fault kNoCheck{.kind = Fault::Kind::Silent, .command = Command::Check};
const Fault kRefusesBatch{.kind = Fault::Kind::Code, .value = 0xE1, .command = Command::Batch};
const Fault kNotMoved{.kind = Fault::Kind::Code, .value = 0xE1, .command = Command::ToProtocol3};
const Fault kLongBoot{
    .kind = Fault::Kind::Length, .first = 1, .last = 2, .value = 14, .command = Command::Boot};

// clang-format off
const RunCase kTable[] = {
    {"SearchesEachSpeed", kParallel, kImage, {{.number = 3, .baud = 19200}, {.number = 5, .baud = 4800}},
     "9600 Erase3x3 4800 Erase3x3 19200 Erase3 Erase5x3 4800 Erase5 38400 Batch Batch Sum3 Sum5 "
     "19200 Check3 Check5", kBothGood},
    {"KeepsTheSpeed", kParallel, kImage, kBoth,
     "9600 Erase3 Erase5 Batch Batch Sum3 Sum5 19200 Check3 Check5", kBothGood, {.keepSpeed = true}},
    {"NoRateInTheImage", kParallel, kNoRate, kBoth,
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 9600 Check3 Check5", {"12/05/31 0815", "12/05/31 0815"}},
    {"RateThatTheListLacks", kParallel, k57600, kBoth,
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5", kEmpty, {.boxes = {383}}},
    // Protocol becomes -1: an Overflow box for each check, which is sent with protocol byte 0.
    {"NoProtocolInTheImage", kParallel, {":0400000001020304F2", ":00000001FF"}, {{.number = 3}, {.number = 5}},
     "9600 Erase3 Erase5 38400 Batch Sum3 Sum5 9600 Check3x3 4800 Check3x3 19200 Check3x3 38400 Check3x3 "
     "Check5x3 4800 Check5x3 9600 Check5x3 19200 Check5x3", {"No Answer red", "No Answer red"},
     {.boxes = {6, 6, 6, 6, 6, 6, 6, 6}}},
    {"FromProtocol3", kParallel, kImage, kOfProtocol3,
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 "
     "19200 To4:3 Check3 To4:5 Check5", kBothGood, {.prot3 = true, .boxes = {0, 0}}},
    {"OneDead", kParallel, kImage, {{.number = 3}},
     "9600 Erase3 Erase5x3 4800 Erase5x3 19200 Erase5x3 38400 Erase5x3", {" ", "No Answer red"}},
    {"OneLosesABatch", kParallel, kImage, {{.number = 3}, {.number = 5, .faults = {kLosesBatch1}}},
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5x3 "
     "19200 Check3 Check5", {"12/05/31 07B6", "Programmation ERROR red marked"},
     {.beeps = 1}},
    {"FirstSilentAtTheCheck", kParallel, kImage, {{.number = 3, .faults = {kNoCheck}}, {.number = 5}},
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 19200 Check3x3 4800 Check3x3 9600 Check3x3 "
     "38400 Check3x3 Check5x3 4800 Check5x3 9600 Check5x3 19200 Check5",
     kSecondGood},
    // From the second controller on with the protocol and the speed of the image.
    {"Serial", kSerial, kImage, {{.number = 3}, {.number = 5, .protocol = 0x41}},
     "9600 Erase3 38400 Batch3 Batch3 Sum3 19200 Check3 Erase5x3 4800 Erase5x3 9600 Erase5 "
     "38400 Batch5 Batch5 Sum5 19200 Check5", kBothGood},
    {"SerialFromProtocol3", kSerial, kImage, kOfProtocol3,
     "9600 Erase3 38400 Batch3 Batch3 Sum3 19200 To4:3 Check3 Erase5x3 4800 Erase5x3 9600 Erase5x3 "
     "38400 Erase5x3",
     {"12/05/31 07B6", "No Answer red"}, {.prot3 = true, .boxes = {0}}},
    {"SerialKeepsTheSpeed", kSerial, kImage, {{.number = 3}, {.number = 5, .baud = 19200, .protocol = 0x41}},
     "9600 Erase3 Batch3 Batch3 Sum3 19200 Check3 Erase5 Batch5 Batch5 Sum5 Check5", kBothGood,
     {.keepSpeed = true}},
    // Nobody answers at a speed of the list any more; the run still goes on.
    {"SerialRateThatTheListLacks", kSerial, k57600, {{.number = 3}, {.number = 5, .protocol = 0x41}},
     "9600 Erase3 38400 Batch3 Batch3 Sum3 9600 Check3x3 4800 Check3x3 19200 Check3x3 38400 Check3x3 "
     "Erase5x3 4800 Erase5x3 9600 Erase5 38400 Batch5 Batch5 Sum5 9600 Check5x3 4800 Check5x3 "
     "19200 Check5x3 38400 Check5x3", {"No Answer red", "No Answer red"}, {.boxes = {383, 383}}},
    {"SerialMovesTo4AgainAtEachSpeed", kSerial, kImage,
     {{.number = 3, .protocol3 = true, .faults = {kNoCheck}}},
     "9600 Erase3 38400 Batch3 Batch3 Sum3 19200 To4:3 Check3x3 4800 To4:3x3 Check3x3 9600 To4:3x3 Check3x3 "
     "38400 To4:3x3 Check3x3 Erase5x3 4800 Erase5x3 9600 Erase5x3 19200 Erase5x3",
     {"No Answer red", "No Answer red"}, {.prot3 = true, .boxes = {0}}},
    {"SerialFirstDead", kSerial, kImage, ThreeWith(kDead),
     "9600 Erase3x3 4800 Erase3x3 19200 Erase3x3 38400 Erase3x3", {"No Answer red", " "}},
    {"SerialFirstSilentAtTheCheck", kSerial, kImage, ThreeWith(kNoCheck),
     "9600 Erase3 38400 Batch3 Batch3 Sum3 19200 Check3x3 4800 Check3x3 9600 Check3x3 "
     "38400 Check3x3 Erase5 Batch5 Batch5 Sum5 19200 Check5", kSecondGood},
    {"SerialRefusesABatch", kSerial, kImage, ThreeWith(kRefusesBatch),
     "9600 Erase3 38400 Batch3x3 19200 Check3x3 4800 Check3x3 9600 Check3x3 "
     "38400 Check3x3 Erase5 Batch5 Batch5 Sum5 19200 Check5", kSecondGood},

    {"InfoOtherChecksum", kInfo, kErased, {{.number = 3}, {.number = 5, .flash = {0xFE}}},
     "9600 Check3 Check5", {"01/02/03 1E02", "01/02/03 1E01 marked"}, {.beeps = 1}},
    {"BootAsksAgainForTheOneLength", kBoot, kErased, {{.number = 3, .faults = {kLongBoot}}, {.number = 5}},
     "9600 Boot3x3 Boot5", kBothBoot},
    {"BootByTheOwnProtocol", kBoot, kErased, BootBy(BootProtocol::Own),
     "9600 Boot3 Boot5", kBothBoot, {.protocol = "4"}},
    {"BootOfTheFixedProtocolTriesTheOtherSpeeds", kBoot, kErased, {{.number = 3, .baud = 4800}, {.number = 5}},
     "9600 Boot3x3 4800 Boot3 Boot5x3 9600 Boot5", kBothBoot},
    {"BootFallsBackForAllThatFollow", kBoot, kErased, BootBy(BootProtocol::Fixed),
     "9600 Boot3x3 Boot3 Boot5", kBothBoot, {.protocol = "4"}},
    {"To4GoesOnAfterASilentOne", kTo4, kErased, {{.number = 5, .protocol3 = true}},
     "9600 To4:3x3 4800 To4:3x3 19200 To4:3x3 38400 To4:3x3 To4:5x3 4800 To4:5x3 9600 To4:5",
     kEmpty, {.prot3 = true, .boxes = {0}}},
    {"To3Refused", kTo3, kErased, {{.number = 3, .faults = {kNotMoved}}, {.number = 5, .baud = 38400}},
     "9600 To3:3x3 4800 To3:3x3 19200 To3:3x3 38400 To3:3x3 To3:5", {"No Answer red", " "}, {.prot3 = true}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Buttons, Run, testing::ValuesIn(kTable), testing::PrintToStringParamName());

TEST(Download, LogsWhatIsSentAndReceivedLineByLine) {
  RunProgram program(std::vector<ControllerSetup>{{.number = 3}});
  program.ChooseHex(kImage);
  program.Tick({3});
  program.Press(kParallel);
  const Texts kTaken = {"Communication OK  - CRC checked", "Answer : 61"};
  // clang-format off
  const Texts kLog = {
      "Message : $74", "40 03 04 74 55 AA F0 BA 1A 04 ",
      "Recu en String : 40 03 01 61 78 7A 04 ", kTaken[0], kTaken[1], "Programming 5F without answer",
      "40 5F 0A 75 AA 55 10 00 00 01 02 03 04 F2 9B 04 ",
      "40 5F 1A 75 AA 55 10 20 10 00 00 00 00 00 31 32 00 30 35 00 33 31 00 00 00 20 00 41 05 79 DF 04 ",
      "Message : $75 Sending Full checksum", "40 03 07 75 AA 55 0F DF 07 B6 F7 0E 04 ",
      "Recu en String : 41 03 01 61 0E CE 04 ", kTaken[0], kTaken[1],
      "Message : $73  - Checking Flash", "41 03 01 73 3C BD 04 ",
      "Recu en String : 41 03 07 61 00 12 05 31 07 B6 AC FB 04 ", kTaken[0]};
  // clang-format on
  EXPECT_EQ(program.EndAndReadLog(), kLog);
}

TEST(Download, GoesToEachTickedControllerAndNoOther) {
  for (const std::size_t count : {0, 1, 2, 31, 32}) {
    for (const Button button : {kParallel, kSerial}) {
      RunProgram program;
      SCOPED_TRACE((program.tool.*button).Name() + std::to_string(count));
      for (int i = 0; i < kControllers; ++i) program.bus.Add({.number = i});
      // No rate of its own and protocol byte $40: the image leaves the line as it is.
      program.ChooseHex({":0400000001020304F2", ":042020007F004005F8", ":00000001FF"});
      program.TickFirst(static_cast<int>(count));
      program.Press(button);
      for (std::size_t i = 0; i < kControllers; ++i) {
        EXPECT_EQ(program.Row(static_cast<int>(i)), i < count ? "FF/FF/FF 16D8" : " ") << i;
      }
      const std::size_t batches = button == kParallel ? 2 : 2 * count;
      EXPECT_EQ(program.computer.sent.size(), batches + 3 * count);
      EXPECT_EQ(program.computer.openedPorts, std::vector<int>{1});
      EXPECT_TRUE(program.Over());
    }
  }
}

TEST(ParallelDownload, DropsWhatComesBetweenTwoErases) {
  TestProgram program;
  program.ChooseHex(kImage);
  program.Tick({3, 5});
  const Reply accepts{10ms, bus::CloseFrame(FromHex("40050161"))};
  program.computer.script = {{accepts, {510500us, {0xFF}}}, {accepts}};
  program.tool.ComLoad.Press();
  EXPECT_THAT(program.Sent()[2], testing::StartsWith("9600 405F")) << "each erase took one sending";
}

TEST(ParallelDownload, DropsWhatComesWhileARefusedSumIsShown) {
  TestProgram program;
  program.ChooseHex(kImage);
  program.Tick({3});
  const Reply accepts{10ms, bus::CloseFrame(FromHex("40030161"))};
  const Reply refuses{10ms, bus::CloseFrame(FromHex("400301E1"))};
  const Reply checked{10ms, bus::CloseFrame(FromHex("410307610012053107B6"))};
  program.computer.script = {{accepts}, {}, {}, {refuses}, {refuses}, {refuses, {900ms, {0xFF}}}, {checked}};
  program.tool.ComLoad.Press();
  EXPECT_EQ(program.computer.sent.size(), 7u) << "the check took one sending";
}

TEST(ParallelDownload, ShowsForTwoSecondsWhoseProgrammingFailed) {
  RunProgram program(std::vector<ControllerSetup>{{.number = 5, .faults = {kLosesBatch1}}});
  program.ChooseHex(kImage);
  program.Tick({5});
  program.tool.FileCheksum.SetText("");  // nothing that FlashCheck would compare with, and mark
  bool stopShown = false;
  const char* const kStatus = "Controller 5 : Programming failure   (Speed : 19200 Bds) ";
  program.computer.When([&] { return program.tool.message.Label1.Text() == kStatus; },
                        [&] { stopShown = program.tool.message.Stop.Visible(); });
  program.Press(kParallel);
  EXPECT_TRUE(stopShown);
  EXPECT_TRUE(program.tool.info.Ver(5).FontBold() && program.tool.info.CkSum(5).FontBold());
  EXPECT_EQ(program.Row(5), "Programmation ERROR red marked") << "white without its red ground";
}

TEST(SpeedSearch, BeginsWhereTheLastOneEndedAndGoesOnFromTheLowest) {
  const Texts kOrders[] = {{"4800", "9600", "19200", "38400"},
                           {"9600", "4800", "19200", "38400"},
                           {"19200", "4800", "9600", "38400"},
                           {"38400", "4800", "9600", "19200"}};
  const std::pair<Button, const char*> kAskings[] = {{kInfo, " Check5x3"},     {kBoot, " Boot5x3"},
                                                     {kTo4, " To4:5x3"},       {kTo3, " To3:5x3"},
                                                     {kParallel, " Erase5x3"}, {kSerial, " Erase5x3"}};
  for (const auto& [button, asking] : kAskings) {
    for (const Texts& order : kOrders) {
      RunProgram program;
      program.ChooseHex(kImage);
      program.Tick({5});
      program.tool.Vitesse.SetText(order.front());
      program.Press(button);
      std::string expected;
      for (const std::string& speed : order) expected += " " + speed + asking;
      EXPECT_EQ(" " + program.Talk(), expected);
      EXPECT_EQ(program.tool.Vitesse.Text(), order.back());
      EXPECT_EQ(program.Row(5), button == kTo4 ? " " : "No Answer red");
      EXPECT_TRUE(program.Over());
    }
  }
}

TEST(Download, CancelWhileProgrammingKeepsProtocolAndSpeed) {
  for (const Button button : {kParallel, kSerial}) {
    RunProgram program(std::vector<ControllerSetup>{{.number = 3}});
    program.ChooseHex(kImage);
    program.Tick({3});
    program.CancelWhen("Programming Batch 2");
    program.Press(button);
    EXPECT_EQ(program.tool.Protocol.Text() + " " + program.tool.Vitesse.Text(), "63 9600");
    EXPECT_TRUE(program.Over());
  }
}

TEST(Download, AppliesTheProtocolBeforeASpeedThatTheListLacks) {
  RunProgram program(std::vector<ControllerSetup>{{.number = 3}});
  program.ChooseHex(k57600);
  program.Tick({3});
  program.Press(kParallel);
  EXPECT_EQ(program.tool.Protocol.Text() + " " + program.tool.Vitesse.Text(), "64 9600");
}

TEST(Download, ComparesWithTheChecksumOfInfo) {
  RunProgram program(std::vector<ControllerSetup>{{.number = 3}});
  program.ChooseHex(kImage);
  program.Tick({3});
  program.computer.When([&] { return program.tool.info.Visible(); },
                        [&] { program.tool.FileCheksum.SetText("0000"); });
  program.Press(kParallel);
  EXPECT_EQ(program.Row(3), "12/05/31 07B6");
}

TEST(SpeedSearch, EndsWhenTheControllersAreUntickedInIt) {
  RunProgram program;
  program.Tick({3, 5});
  program.computer.At(1s, [&] { program.tool.NONE.Press(); });
  program.Press(kTo4);
  EXPECT_EQ(program.Talk(), "9600 To4:3x3");
}

TEST(BootInfo, PreparesTheTableForItself) {
  RunProgram program;
  program.ChooseHex(kImage);
  for (const Button button : {kBoot, kInfo}) {
    program.Press(button);
    const std::string title = button == kBoot ? "Boot Info" : "Flash Info";
    EXPECT_EQ(program.tool.info.Caption() + ", " + program.tool.info.Titre.Text(), title + ", " + title);
    EXPECT_EQ(program.tool.info.Label41.Visible(), button == kInfo);
    EXPECT_EQ(program.tool.info.FileCheksum.Visible(), button == kInfo);
    EXPECT_EQ(program.tool.info.FileCheksum.Text(), "07B6");
  }
}

TEST(BootInfo, SendsTheFixedProtocolUntilTheProgramEnds) {
  RunProgram program({{.number = 3, .protocol = 5, .bootProtocol = BootProtocol::Own},
                      {.number = 5, .protocol = 5, .bootProtocol = BootProtocol::Fixed}});
  program.tool.Protocol.SetText("4");
  program.Tick({5});
  program.tool.ComBoot.Press();
  EXPECT_EQ(program.Sent().front(), "9600 05050475AA55509C7204");
  EXPECT_EQ(program.Sent().back(), "9600 40050475AA5550383904");
  program.Tick({3});
  program.CancelAt(program.computer.Time() +
                   300s);  // nothing else ends a survey of a controller that keeps silent
  program.tool.ComBoot.Press();
  EXPECT_EQ(program.computer.speeds, std::vector<int>(program.computer.speeds.size(), 9600));
  EXPECT_EQ(program.Row(3), "No Answer red");
  EXPECT_EQ(program.EndAndReadLog().front(), "Message Checking BOOT");
}

TEST(Auto, TicksWhoAnswersAtAnySpeedAndPutsTheSettingsBack) {
  RunProgram program({{.number = 0, .baud = 38400},
                      {.number = 7},
                      {.number = 8, .faults = {{.kind = Fault::Kind::Length, .value = 7}}},
                      {.number = 31}});
  program.Tick({7, 9, 30});
  program.computer.At(1s, [&] {
    EXPECT_EQ(program.tool.Text1.Text(), "50");
    EXPECT_EQ(program.tool.message.Label1.Text(), "Auto Detection in Progress  ...");
    EXPECT_TRUE(program.tool.message.Jumelle.Visible());
    EXPECT_FALSE(program.tool.Auto.Enabled());
  });
  program.tool.Auto.Press();
  EXPECT_EQ(program.Ticked(), "0 7 8 31 ");
  EXPECT_THAT(
      program.Talk(),
      testing::StartsWith("9600 Check0x3 4800 Check0x3 19200 Check0x3 38400 Check0 Check1x3 4800 Check1x3"));
  EXPECT_EQ(program.tool.Text1.Text() + " " + program.tool.Vitesse.Text(), "500 9600");
  EXPECT_TRUE(program.tool.Auto.Enabled());
  EXPECT_EQ(program.EndAndReadLog().front(), "Message : AutoDetection $73");
  EXPECT_TRUE(program.Over());
}

TEST(Auto, AsksWithTheProtocolOfTheBox) {
  RunProgram program(std::vector<ControllerSetup>{{.number = 2, .protocol = 5}});
  program.tool.Protocol.SetText("4");
  program.Tick({});
  program.tool.Auto.Press();
  EXPECT_EQ(program.Ticked(), "2 ");
}

// Controllers 3 and 5 are on the line, and 3 has a fault. An answer does not say to which question it
// belongs, so a late one ticks number 4 too, which nobody has.
TEST(Auto, TicksWhoAnswersWhateverTheFault) {
  using Kind = Fault::Kind;
  const std::pair<Fault, const char*> kFaults[] = {
      {{.kind = Kind::Silent, .last = 1}, "3 5 "},
      {{.kind = Kind::Silent}, "5 "},
      {{.kind = Kind::Dead}, "5 "},
      {{.kind = Kind::Late, .delay = 700ms}, "3 4 5 "},
      {{.kind = Kind::Corrupt, .last = 1}, "3 5 "},
      {{.kind = Kind::Corrupt}, "5 "},
      {{.kind = Kind::Code, .value = 0xE1}, "3 5 "},
      {{.kind = Kind::Length, .value = 20}, "3 5 "},
      {{.kind = Kind::Short, .value = 3}, "5 "},
      {{.kind = Kind::Echo}, "5 "},
  };
  for (const auto& [fault, ticked] : kFaults) {
    RunProgram program({{.number = 3, .faults = {fault}}, {.number = 5}});
    program.tool.Auto.Press();
    EXPECT_EQ(program.Ticked(), ticked) << static_cast<int>(fault.kind);
    EXPECT_TRUE(program.Over());
  }
}

TEST(Auto, CancelAtNumber7KeepsTheBoxesFromThereOnAndPutsTheSettingsBack) {
  for (const char* speed : {"4800", "38400"}) {  // the first and the last that is tried for number 7
    RunProgram program;
    program.bus.Add({.number = 2, .baud = 19200});
    program.Tick({1, 7, 20});
    const auto atNumber7 = [&] {
      return program.tool.CurrentController == 7 && program.tool.Vitesse.Text() == speed &&
             program.computer.open;
    };
    program.computer.When(atNumber7, [&] { program.tool.message.Command1.Press(); });
    program.tool.Auto.Press();
    EXPECT_EQ(program.Ticked(), "2 7 20 ") << speed;
    EXPECT_EQ(program.tool.Text1.Text() + " " + program.tool.Vitesse.Text(), "500 9600");
    EXPECT_TRUE(program.tool.Auto.Enabled());
    EXPECT_FALSE(program.computer.open);
  }
}

}  // namespace
}  // namespace quillon::test
