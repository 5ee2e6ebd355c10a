// What the operator can do in the middle of a run: cancel it, click again, change the controls.
// quillon-explore presses Cancel and closes the main window at each frame of each run.
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

const char* const kRed = "No Answer red";
const char* const kGood = "12/05/31 07B6";
const char* const kRead = "01/02/03 1E02 marked";

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
