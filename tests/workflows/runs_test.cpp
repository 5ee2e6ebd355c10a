// Whole runs, undisturbed or interrupted by the operator: what goes over the line, and what the table shows
// after them. quillon-explore presses Cancel and closes the main window at each frame of each run.
#include <gmock/gmock.h>

#include <functional>
#include <sstream>

#include "link/outcome.h"
#include "workflows/run_program.h"

namespace quillon::test {
namespace {

using bus::BootProtocol;
using bus::Command;
using bus::ControllerSetup;
using bus::Fault;

/// What is not usual in a run, and what is left of it beside the rows.
struct Extra {
  const char* protocol = "63";
  bool prot3 = false;         // "Prot 3" is ticked
  bool keepSpeed = false;     // the speed is kept for programming
  const char* cancelAt = "";  // a status line
  std::size_t atFrame = 0;    // when the operator acts
  void (*act)(Quillon&) = nullptr;
  std::vector<int> boxes = {};
  int beeps = 0;
  const char* leaves = "";  // protocol and speed; empty: whatever they are
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
  // Of an earlier run:
  ReportFailure(program.tool, 31, FailureCode::kNoAnswer);
  program.tool.AbortRequested = true;
  if (*c.extra.cancelAt) program.CancelWhen(c.extra.cancelAt);
  if (c.extra.act) {
    program.computer.When([&] { return program.computer.sent.size() >= c.extra.atFrame; },
                          [&] { c.extra.act(program.tool); });
  }
  program.Press(c.button);
  EXPECT_EQ(program.Talk(), c.talk);
  EXPECT_EQ(program.Rows(), c.rows);
  EXPECT_FALSE(program.Row(31).ends_with("red"));
  EXPECT_EQ(program.BoxNumbers(), c.extra.boxes);
  EXPECT_EQ(program.computer.beeps, c.extra.beeps);
  EXPECT_FALSE(program.tool.message.Visible());
  const bool endedByAFailure = c.button == kParallel && c.extra.boxes == std::vector{383};
  EXPECT_EQ(program.computer.open, endedByAFailure);
  if (*c.extra.leaves) {
    EXPECT_EQ(program.tool.Protocol.Text() + " " + program.tool.Vitesse.Text(), c.extra.leaves);
  }
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
const char* const kRead = "01/02/03 1E02 marked";

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
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5", kEmpty, {.boxes = {383}, .leaves = "64 9600"}},
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
    {"SerialRefusesABatch", kSerial, kImage, ThreeWith(kRefusesBatch),
     "9600 Erase3 38400 Batch3x3 19200 Check3x3 4800 Check3x3 9600 Check3x3 "
     "38400 Check3x3 Erase5 Batch5 Batch5 Sum5 19200 Check5", kSecondGood},

    {"InfoOtherChecksum", kInfo, kErased, {{.number = 3}, {.number = 5, .flash = {0xFE}}},
     "9600 Check3 Check5", {"01/02/03 1E02", "01/02/03 1E01 marked"}, {.beeps = 1}},
    {"BootAsksAgainForTheOneLength", kBoot, kErased, {{.number = 3, .faults = {kLongBoot}}, {.number = 5}},
     "9600 Boot3x3 Boot5", kBothBoot},
    {"BootOfTheFixedProtocolTriesTheOtherSpeeds", kBoot, kErased, {{.number = 3, .baud = 4800}, {.number = 5}},
     "9600 Boot3x3 4800 Boot3 Boot5x3 9600 Boot5", kBothBoot},
    {"BootFallsBackForAllThatFollow", kBoot, kErased, BootBy(BootProtocol::Fixed),
     "9600 Boot3x3 Boot3 Boot5", kBothBoot, {.protocol = "4"}},
    {"To4GoesOnAfterASilentOne", kTo4, kErased, {{.number = 5, .protocol3 = true}},
     "9600 To4:3x3 4800 To4:3x3 19200 To4:3x3 38400 To4:3x3 To4:5x3 4800 To4:5x3 9600 To4:5",
     kEmpty, {.prot3 = true, .boxes = {0}}},
    {"To3Refused", kTo3, kErased, {{.number = 3, .faults = {kNotMoved}}, {.number = 5, .baud = 38400}},
     "9600 To3:3x3 4800 To3:3x3 19200 To3:3x3 38400 To3:3x3 To3:5", {"No Answer red", " "}, {.prot3 = true}},

    {"CancelInAnErase", kParallel, kImage, kBoth, "9600 Erase3 Erase5", {" ", "No Answer"},
     {.cancelAt = "Controller 5 : Erasing  (Speed : 9600 Bds) ..."}},
    {"CancelInTheBatches", kParallel, kImage, kBoth, "9600 Erase3 Erase5 38400 Batch", kEmpty,
     {.cancelAt = " Programming Batch 2    ...", .leaves = "63 9600"}},
    {"CancelInAChecksum", kParallel, kImage, kBoth, "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5",
     {" ", "No Answer red"}, {.cancelAt = "Controller 5 : Sending Full CheckSum  ..."}},
    {"CancelInACheck", kParallel, kImage, kBoth, "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 19200 Check3",
     {"No Answer red", " "}, {.cancelAt = "Controller 3 : Checking Flash  (Speed : 19200 Bds) ..."}},
    // Without a checksum the check marks nothing, and the comparison does.
    {"CancelWhileAFailureIsShown", kParallel, kImage, {{.number = 3, .faults = {kLosesBatch1}}, {.number = 5}},
     "9600 Erase3 Erase5 38400 Batch Batch Sum3x3 Sum5 19200 Check3", {"Programmation ERROR red marked", " "},
     {.cancelAt = "Controller 3 : Programming failure   (Speed : 19200 Bds) ", .atFrame = 1,
      .act = [](Quillon& tool) { tool.info.FileCheksum.SetText(""); }}},
    {"SerialCancelInTheBatches", kSerial, kImage, kBoth, "9600 Erase3 38400 Batch3", kEmpty,
     {.cancelAt = "Controller 3 : Programming Batch 2    ...", .leaves = "63 9600"}},

    {"Untick", kParallel, kImage, kBoth, "9600 Erase3 Erase5 38400 Batch Batch Sum3 19200 Check3",
     {"12/05/31 07B6", " "}, {.atFrame = 3, .act = [](Quillon& tool) { tool.C(5).SetValue(0); }}},
    {"UntickStillChecksWhatIsProgrammed", kSerial, kImage, kBoth,
     "9600 Erase3 38400 Batch3 Batch3 Sum3 19200 Check3", {"12/05/31 07B6", " "},
     {.atFrame = 2, .act = [](Quillon& tool) { tool.NONE.Press(); }}},
    {"UntickEndsASearch", kTo4, kErased, {}, "9600 To4:3x3", kEmpty,
     {.atFrame = 2, .act = [](Quillon& tool) { tool.NONE.Press(); }}},
    {"Protocol", kInfo, kImage, kBoth, "9600 Check3 Check5x3 4800 Check5x3 19200 Check5x3 38400 Check5x3",
     {kRead, "No Answer red"},
     {.atFrame = 1, .act = [](Quillon& tool) { tool.Protocol.SetText("4"); }, .beeps = 1}},
    {"ProtocolCleared", kParallel, kImage, kBoth,
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 19200 Check3 Check5", kBothGood,
     {.atFrame = 4, .act = [](Quillon& tool) { tool.Protocol.SetText(""); }}},
    {"Speed", kInfo, kImage, kBoth, "9600 Check3 4800 Check5x3 9600 Check5", {kRead, kRead},
     {.atFrame = 1, .act = [](Quillon& tool) { tool.Vitesse.SetText("4800"); }, .beeps = 2}},
    {"InfoClosed", kInfo, kImage, kBoth, "9600 Check3 Check5", {" ", "01/02/03 1E02"},
     {.atFrame = 2, .act = [](Quillon& tool) { tool.info.ComClose.Press(); }, .beeps = 1}},
    {"SecondClicksOnlyBeep", kInfo, kImage, kBoth, "9600 Check3 Check5", {kRead, kRead},
     {.atFrame = 2, .act = [](Quillon& tool) { for (const Button run : kRuns) (tool.*run).Press(); }, .beeps = 2 + 5}},
    {"ComparesWithTheChecksumOfInfo", kParallel, kImage, kBoth,
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 19200 Check3 Check5", kBothGood,
     {.atFrame = 1, .act = [](Quillon& tool) { tool.FileCheksum.SetText("0000"); }}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Buttons, Run, testing::ValuesIn(kTable), testing::PrintToStringParamName());

/// The kinds of the events of a run, without status lines: "R<s>E1".
///
///     R E1  a run begins, ends; 0 finished, 1 cancelled, 2 failed, 3 aborted
///     < >   a phase of a controller begins, ends
///     f @   a controller was found; the speed changed
///     s r   a frame was sent, an answer received
///     c b   a command was answered; a batch begins
///     = #   a row was filled or emptied; a run-time failure
class EventKinds : public RunObserver {
 public:
  void OnRunEvent(const RunEvent& event) override {
    if (!std::holds_alternative<StatusShown>(event.what)) text += "R<>f@srcb=.#E"[event.what.index()];
    if (const auto* end = std::get_if<RunEnded>(&event.what))
      text += std::to_string(static_cast<int>(end->how));
  }
  std::string text;
};

TEST(RunEvents, ReportHowARunEnds) {
  struct Case {
    const char* name;
    Button button;
    int controller;
    std::function<void(RunProgram&)> prepare;
    const char* events;
  };
  const Case cases[] = {
      {"cancelled", kInfo, 4, [](RunProgram& program) { program.CancelAt(100ms); }, "R<sc=@>E1"},
      {"failed", kInfo, 3, [](RunProgram& program) { program.tool.Protocol.SetText("x"); }, "R#E2"},
      {"closed", kInfo, 4,
       [](RunProgram& program) { program.computer.At(100ms, [&program] { program.tool.Close(); }); },
       "R<s>E3"},
      {"boot code", kBoot, 3, [](RunProgram&) {}, "R<src==>E0"},
  };
  for (const Case& c : cases) {
    RunProgram program(std::vector<ControllerSetup>{{.number = c.controller}});
    program.ChooseHex(kImage);
    program.Tick({3});
    c.prepare(program);
    EventKinds events;
    program.tool.observers.push_back(&events);
    program.Press(c.button);
    EXPECT_EQ(events.text, c.events) << c.name;
  }
}

TEST(Download, LogsEachFrameToTheByteAndReportsEvents) {
  const std::string kSent = "40 03 04 74 55 AA F0 BA 1A 04 ";
  const std::string kChecksum = "40 03 07 75 AA 55 0F DF 07 B6 F7 0E 04 ";
  const std::string kAccepted = "Recu en String : 40 03 01 61 78 7A 04 ";
  const std::string kAcceptedByImage = "Recu en String : 41 03 01 61 0E CE 04 ";
  const std::string kOk = "Communication OK  - CRC checked";
  const std::string kDone = "Answer : 61";
  // clang-format off
  const Texts kCheck = {
      "Message : $73  - Checking Flash", "41 03 01 73 3C BD 04 ",
      "Recu en String : 41 03 07 61 00 12 05 31 07 B6 AC FB 04 ", kOk};
  const std::tuple<Button, Texts, const char*> kDownloads[] = {
      {kParallel, {
          "Message : $74", kSent, kAccepted, kOk, kDone, "Programming 5F without answer",
          "40 5F 0A 75 AA 55 10 00 00 01 02 03 04 F2 9B 04 ",
          "40 5F 1A 75 AA 55 10 20 10 00 00 00 00 00 31 32 00 30 35 00 33 31 00 00 00 20 00 41 05 79 DF 04 ",
          "Message : $75 Sending Full checksum", kChecksum, kAcceptedByImage, kOk, kDone},
       "R<src=>@bsbs<src=>@<src==>E0"},
      {kSerial, {
          "Message : $74", kSent, kAccepted, kOk, kDone, "******** PROGRAMMATION DU CTRL 3 **********",
          "Message : $75 - Programmation Batch 1", "40 03 0A 75 AA 55 10 00 00 01 02 03 04 0E F7 04 ",
          "Recu en String : 40 03 01 E1 E9 F2 04 ", kOk, kAccepted, kOk, kDone,
          "Message : $75 - Programmation Batch 2",
          "40 03 1A 75 AA 55 10 20 10 00 00 00 00 00 31 32 00 30 35 00 33 31 00 00 00 20 00 41 05 02 25 04 ",
          kAccepted, kOk, kDone,
          "Message : $75 Sending Full Checksum", kChecksum, kAcceptedByImage, kOk, kDone},
       "R<src=>@<bsrcsrcbsrc<src=>>@<src==>E0"}};
  // clang-format on
  for (const auto& [button, lines, kinds] : kDownloads) {
    const Fault refusesOne{.kind = Fault::Kind::Code, .last = 1, .value = 0xE1, .command = Command::Batch};
    RunProgram program(std::vector<ControllerSetup>{{.number = 3, .faults = {refusesOne}}});
    program.ChooseHex(kImage);
    program.Tick({3});
    EventKinds events;
    program.tool.observers.push_back(&events);
    program.Press(button);
    EXPECT_EQ(events.text, kinds);
    EXPECT_TRUE(program.tool.info.Visible());
    EXPECT_EQ(program.tool.info.FileCheksum.Text(), "07B6");
    EXPECT_EQ(program.tool.Protocol.Text() + " " + program.tool.Vitesse.Text(), "64 19200");
    Texts expected = lines;
    expected.insert(expected.end(), kCheck.begin(), kCheck.end());
    EXPECT_EQ(program.EndAndReadLog(), expected);
  }
}

TEST(Download, GoesToEachTickedControllerAndNoOther) {
  for (const std::size_t count : {0, kControllers}) {
    for (const Button button : {kParallel, kSerial}) {
      RunProgram program;
      SCOPED_TRACE((program.tool.*button).Name() + std::to_string(count));
      for (int i = 0; i < kControllers; ++i) program.bus.Add({.number = i});
      // No rate of its own and protocol byte $40: the image leaves the line as it is.
      program.ChooseHex({":0400000001020304F2", ":042020007F004005F8", ":00000001FF"});
      (count == 0 ? program.tool.NONE : program.tool.ALL).Press();
      program.Press(button);
      for (int i = 0; i < kControllers; ++i)
        EXPECT_EQ(program.Row(i), count == 0 ? " " : "FF/FF/FF 16D8") << i;
      const std::size_t batches = button == kParallel ? 2 : 2 * count;
      EXPECT_EQ(program.computer.sent.size(), batches + 3 * count);
      EXPECT_EQ(program.computer.openedPorts, std::vector<int>{1});
      EXPECT_TRUE(program.Over());
    }
  }
}

TEST(ParallelDownload, DropsWhatComesBetweenTwoErasesAndWhileARefusedSumIsShown) {
  const Reply accepts{10ms, bus::CloseFrame(FromHex("40030161"))};
  const Reply refuses{10ms, bus::CloseFrame(FromHex("400301E1"))};
  const Reply checked{10ms, bus::CloseFrame(FromHex("410307610012053107B6"))};
  TestProgram program;
  program.ChooseHex(kImage);
  program.Tick({3, 5});
  program.computer.script = {
      {accepts, {510500us, {0xFF}}}, {accepts}, {}, {}, {accepts}, {refuses}, {refuses},
      {refuses, {900ms, {0xFF}}},    {checked}};
  program.tool.ComLoad.Press();
  const std::vector<std::string> sent = program.Sent();
  EXPECT_THAT(sent[2], testing::StartsWith("9600 405F")) << "each erase took one sending";
  EXPECT_THAT(sent[9], testing::StartsWith("19200 4105")) << "the check of 3 took one sending";
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
  RunProgram program({{.number = 0, .baud = 38400, .protocol = 5},
                      {.number = 7, .protocol = 5},
                      {.number = 8, .protocol = 5, .faults = {{.kind = Fault::Kind::Length, .value = 7}}},
                      {.number = 31, .protocol = 5}});
  program.tool.Protocol.SetText("4");
  program.Tick({7, 9, 30});
  ReportFailure(program.tool, 30, FailureCode::kNoAnswer);
  program.tool.AbortRequested = true;  // of an earlier run
  program.computer.At(program.computer.Time() + 1s, [&] {
    EXPECT_EQ(program.tool.Text1.Text(), "50");
    EXPECT_EQ(program.tool.message.Label1.Text(), "Auto Detection in Progress  ...");
    EXPECT_TRUE(program.tool.message.Jumelle.Visible());
    EXPECT_FALSE(program.tool.Auto.Enabled());
  });
  program.tool.Auto.Press();
  EXPECT_EQ(program.Ticked(), "0 7 8 31 ");
  EXPECT_EQ(program.Row(30), "No Answer red");
  EXPECT_THAT(
      program.Talk(),
      testing::StartsWith("9600 Check0x3 4800 Check0x3 19200 Check0x3 38400 Check0 Check1x3 4800 Check1x3"));
  EXPECT_EQ(program.tool.Text1.Text() + " " + program.tool.Vitesse.Text(), "500 9600");
  EXPECT_TRUE(program.tool.Auto.Enabled());
  EXPECT_EQ(program.EndAndReadLog().front(), "Message : AutoDetection $73");
  EXPECT_TRUE(program.Over());
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
