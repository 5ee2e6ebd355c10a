// What the operator can do in the middle of a run: cancel it, end the program, click again, change the
// controls.
#include <gtest/gtest.h>

#include "link/outcome.h"
#include "workflows/run_program.h"

namespace quillon::test {
namespace {

/// Controllers 3 and 5 ticked, a file chosen; 5 listens where a serial download comes to it.
class InterruptedProgram : public RunProgram {
 public:
  explicit InterruptedProgram(Button workflow) : button(workflow) {
    bus.Add({.number = 3});
    bus.Add(button == kSerial ? bus::ControllerSetup{.number = 5, .baud = 19200, .protocol = 0x41}
                              : bus::ControllerSetup{.number = 5});
    ChooseHex(kImage);
    Tick({3, 5});
  }

  /// Runs the workflow; at the first yield after frame `n` the operator acts.
  void Run(std::size_t n, const std::function<void()>& act) {
    computer.When([this, n] { return computer.sent.size() >= n; }, act);
    Press(button);
  }

  Button button;
};

struct Phase {
  const char* after;  // the last frame before Cancel
  const char* row3;   // what then stands in the rows
  const char* row5;
  std::size_t stillSent = 0;  // frames that leave after Cancel
};
struct PhasesCase {
  const char* name;
  Button button;
  std::vector<Phase> phases;  // one for each frame that is sent
};
void PrintTo(const PhasesCase& c, std::ostream* out) { *out << c.name; }

const char* const kEmpty = " ";
const char* const kNo = "No Answer";  // readied for the next speed, which is not tried any more
const char* const kRed = "No Answer red";
const char* const kGood = "12/05/31 07B6";
const char* const kRead = "01/02/03 1E02 marked";
const char* const kBoot7 = "01/00/00 B007";
// clang-format off
const PhasesCase kPhasesCases[] = {
    {"Parallel", kParallel, {
        {"Erase3", kNo, kEmpty},
        {"Erase5", kEmpty, kNo},
        {"Batch", kEmpty, kEmpty},
        {"Batch, the last one: its pause sees no click", kRed, kEmpty, 1},
        {"Sum3", kRed, kEmpty},
        {"Sum5", kEmpty, kRed},
        {"Check3", kRed, kEmpty},
        {"Check5", kGood, kRed}}},
    {"Serial", kSerial, {
        {"Erase3", kNo, kEmpty},
        {"Batch3", kEmpty, kEmpty},
        {"Batch3, the last one", kEmpty, kEmpty},
        {"Sum3", kRed, kEmpty},
        {"Check3: asked once at each speed left", kRed, kEmpty, 3},
        {"Erase5", kGood, kNo},
        {"Batch5", kGood, kEmpty},
        {"Batch5, the last one", kGood, kEmpty},
        {"Sum5", kGood, kRed},
        {"Check5: asked once at each speed left", kGood, kRed, 3}}},
    {"FlashInfo", kInfo, {{"Check3", kNo, kEmpty}, {"Check5", kRead, kNo}}},
    {"BootInfo", kBoot, {{"Boot3", kNo, kEmpty}, {"Boot5", kBoot7, kNo}}},
    {"To3", kTo3, {{"To3:3", kNo, kEmpty}, {"To3:5", kEmpty, kNo}}},
    {"Auto", kAuto, {{"Check0", kEmpty, kEmpty}, {"Check0", kEmpty, kEmpty}}},
};
// clang-format on

class Interruption : public testing::TestWithParam<PhasesCase> {};
INSTANTIATE_TEST_SUITE_P(Runs, Interruption, testing::ValuesIn(kPhasesCases),
                         testing::PrintToStringParamName());

TEST_P(Interruption, CancelEndsTheRunInEachPhase) {
  std::size_t n = 0;
  for (const Phase& phase : GetParam().phases) {
    SCOPED_TRACE(phase.after);
    InterruptedProgram program(GetParam().button);
    program.Run(++n, [&] { program.tool.message.Command1.Press(); });
    EXPECT_EQ(program.computer.sent.size(), n + phase.stillSent);
    EXPECT_EQ(program.Rows(), (Texts{phase.row3, phase.row5}));
    EXPECT_TRUE(program.Over());
    EXPECT_EQ(program.Ticked(), "3 5 ");
    const std::size_t sent = program.computer.sent.size();
    program.tool.ComInfo.Press();
    EXPECT_GT(program.computer.sent.size(), sent) << "the next run starts afresh";
  }
}

TEST_P(Interruption, ClosingTheMainWindowEndsTheProgramInEachPhase) {
  for (std::size_t n = 1; n <= GetParam().phases.size(); ++n) {
    SCOPED_TRACE(GetParam().phases[n - 1].after);
    InterruptedProgram program(GetParam().button);
    std::size_t sent = 0;
    program.Run(n, [&] {
      sent = program.computer.sent.size();
      program.tool.Close();
    });
    EXPECT_EQ(program.computer.sent.size(), sent);
    EXPECT_TRUE(program.computer.ended);
    EXPECT_EQ(program.computer.calls, 0);
    EXPECT_FALSE(program.computer.open);
    EXPECT_EQ(program.Read("Quillon.cfg").substr(0, 5), "500\r\n");
    EXPECT_NE(program.Read("Log.txt"), "");
  }
}

TEST(Interruption, OfAnEarlierRunIsForgottenWithItsRedRows) {
  for (const Button button : kRuns) {
    InterruptedProgram program(button);
    SCOPED_TRACE((program.tool.*button).Name());
    for (const int y : {0, 31}) ReportFailure(program.tool, y, FailureCode::kNoAnswer);
    program.tool.AbortRequested = true;
    program.Press(button);
    EXPECT_GT(program.computer.sent.size(), 1u);
    for (const int y : {0, 31})
      EXPECT_EQ(program.Row(y), button == kAuto ? "No Answer red" : "No Answer") << y;
  }
}

TEST(Interruption, CancelWhileAFailureIsShownStillFillsTheRow) {
  for (const Button button : {kParallel, kSerial, kInfo, kBoot, kTo3}) {
    RunProgram program;
    SCOPED_TRACE((program.tool.*button).Name());
    program.ChooseHex(kImage);
    program.Tick({3, 5});
    program.CancelWhen(" : No Answer");
    program.Press(button);
    EXPECT_EQ(program.computer.sent.size(), 3u);
    EXPECT_EQ(program.Rows(), (Texts{kNo, " "}));
    EXPECT_FALSE(program.computer.open);
  }
}

TEST(Interruption, CancelAtAStatusLineSendsNoMoreThanWhatItTells) {
  const std::tuple<Button, const char*, const char*> kStatuses[] = {
      {kParallel, "Controller 5 : Erasing  (Speed : 9600 Bds) ...", "9600 Erase3 Erase5"},
      {kParallel, " Programming Batch 2    ...", "9600 Erase3 Erase5 38400 Batch"},
      {kParallel, "Controller 5 : Sending Full CheckSum  ...",
       "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5"},
      {kParallel, "Controller 3 : Checking Flash  (Speed : 19200 Bds) ...",
       "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 19200 Check3"},
      {kSerial, "Controller 3 : Erasing  (Speed : 9600 Bds) ...", "9600 Erase3"},
      {kSerial, "Controller 3 : Programming Batch 2    ...", "9600 Erase3 38400 Batch3"},
      {kSerial, "Controller 3 : Sending full CheckSum  ...", "9600 Erase3 38400 Batch3 Batch3 Sum3"}};
  for (const auto& [button, status, talk] : kStatuses) {
    InterruptedProgram program(button);
    program.CancelWhen(status);
    program.Press(button);
    EXPECT_EQ(program.Talk(), talk) << status;
  }
}

TEST(SecondClick, OnlyBeeps) {
  const auto talkOf = [](InterruptedProgram& program, const std::function<void()>& act) {
    program.tool.RUD3.SetValue(CheckBox::kTicked);
    program.Run(2, act);
    return program.Talk();
  };
  for (const Button run : kRuns) {
    InterruptedProgram undisturbed(run);
    const std::string talk = talkOf(undisturbed, [] {});
    for (const Button other : kRuns) {
      InterruptedProgram program(run);
      SCOPED_TRACE((program.tool.*run).Name() + " and " + (program.tool.*other).Name());
      EXPECT_EQ(talkOf(program, [&] { (program.tool.*other).Press(); }), talk);
      const bool disabled = other == kAuto && run == kAuto;
      EXPECT_EQ(program.computer.beeps, undisturbed.computer.beeps + (disabled ? 0 : 1));
      EXPECT_EQ(program.computer.calls, 1);
      EXPECT_EQ(program.computer.openedPorts.size(), 1u);
      EXPECT_EQ(program.Rows(), undisturbed.Rows());
    }
  }
}

struct ChangeCase {
  const char* name;
  Button button;
  std::size_t atFrame;
  std::function<void(Quillon&)> act;
  const char* talk;
  Texts rows;
};
void PrintTo(const ChangeCase& c, std::ostream* out) { *out << c.name; }

class ChangeInARun : public testing::TestWithParam<ChangeCase> {};

TEST_P(ChangeInARun, TakesEffectAtOnce) {
  InterruptedProgram program(GetParam().button);
  program.Run(GetParam().atFrame, [&] { GetParam().act(program.tool); });
  EXPECT_EQ(program.Talk(), GetParam().talk);
  EXPECT_EQ(program.Rows(), GetParam().rows);
  EXPECT_FALSE(program.computer.open);
}

// clang-format off
const ChangeCase kChangeCases[] = {
    {"Untick", kParallel, 3, [](Quillon& tool) { tool.C(5).SetValue(0); },
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 19200 Check3", {kGood, " "}},
    {"UntickStillChecksWhatIsProgrammed", kSerial, 2, [](Quillon& tool) { tool.NONE.Press(); },
     "9600 Erase3 38400 Batch3 Batch3 Sum3 19200 Check3", {kGood, " "}},
    {"Protocol", kInfo, 1, [](Quillon& tool) { tool.Protocol.SetText("4"); },
     "9600 Check3 Check5x3 4800 Check5x3 19200 Check5x3 38400 Check5x3", {kRead, kRed}},
    {"ProtocolCleared", kParallel, 4, [](Quillon& tool) { tool.Protocol.SetText(""); },
     "9600 Erase3 Erase5 38400 Batch Batch Sum3 Sum5 19200 Check3 Check5", {kGood, kGood}},
    {"Speed", kInfo, 1, [](Quillon& tool) { tool.Vitesse.SetText("4800"); },
     "9600 Check3 4800 Check5x3 9600 Check5", {kRead, kRead}},
    {"InfoClosed", kInfo, 2, [](Quillon& tool) { tool.info.ComClose.Press(); },
     "9600 Check3 Check5", {" ", "01/02/03 1E02"}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Changes, ChangeInARun, testing::ValuesIn(kChangeCases),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace quillon::test
