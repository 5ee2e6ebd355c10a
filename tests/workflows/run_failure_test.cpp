// Runs that meet a run-time failure: which boxes come, what still goes out, what becomes of the port.
#include <gtest/gtest.h>

#include "workflows/run_program.h"
#ifndef _WIN32
#include "support/full_disk.h"
#endif

namespace quillon::test {
namespace {

struct FailureCase {
  const char* name;
  std::function<void(TestProgram&)> trouble;
  std::vector<Button> buttons;  // which all take it alike
  std::vector<int> boxes;
  bool portLeftOpen;
  const char* talk = "";
  const char* says = "";  // the first box, its title in front
};
void PrintTo(const FailureCase& c, std::ostream* out) { *out << c.name; }

class RunFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(RunFailure, ShowsItsBoxesAndLeavesTheNextRunFree) {
  const FailureCase& c = GetParam();
  for (const Button button : c.buttons) {
    RunProgram program;
    SCOPED_TRACE((program.tool.*button).Name());
    program.ChooseHex(kImage);
    program.Tick({5});
    program.tool.AnswerText = ToHex(bus::CloseFrame(FromHex("4005076100010203ABCD")));
    c.trouble(program);
    program.Press(button);
    EXPECT_EQ(program.BoxNumbers(), c.boxes);
    EXPECT_EQ(program.Talk(), c.talk);
    const std::string says = program.computer.boxes[0].title + ": " + program.computer.boxes[0].text;
    EXPECT_NE(says.find(c.says), std::string::npos) << says;
    EXPECT_EQ(program.Row(5).find('/'), std::string::npos) << "what an earlier run received";
    if (button == kTo4 || button == kTo3) {
      EXPECT_EQ(program.computer.boxes.back().title, (program.tool.*button).Name() + "_Click ");
    }
    EXPECT_EQ(program.computer.calls, 1) << "at the end of the run, not for each box";
    EXPECT_EQ(program.computer.open, c.portLeftOpen);
    EXPECT_TRUE(program.tool.Auto.Enabled());
    EXPECT_EQ(program.tool.Text1.Text(), "500");

    program.computer.beforeOperation = nullptr;
    program.tool.ComPort.SetText("COM 2");
    program.tool.Vitesse.SetText("9600");
    program.tool.Protocol.SetText("63");
    program.tool.ComInfo.Press();
    EXPECT_EQ(program.BoxNumbers(), c.boxes) << "no box of the next run";
    EXPECT_EQ(program.computer.openedPorts.back(), 2);
    EXPECT_FALSE(program.computer.open);
  }
}

const auto kNoPort = [](TestProgram& program) { program.tool.ComPort.Reset(); };
const auto kNoSpeed = [](TestProgram& program) { program.tool.Vitesse.Reset(); };
const auto kNoNumber = [](TestProgram& program) { program.tool.Protocol.SetText("x"); };
const auto kRefused = [](TestProgram& program) {
  program.computer.beforeOperation = [] { throw RunError(RunError::kInvalidPort, "no such port"); };
};
const auto kGoesAway = [](TestProgram& program) {
  program.computer.When(
      [&] { return program.computer.sent.size() == 2; },
      [&] { program.computer.beforeOperation = [] { throw RunError(RunError::kDeviceFailed, "gone"); }; });
};
const char* const kErase = "9600 Erase5x3 4800 Erase5x3 19200 Erase5x3 38400 Erase5x3";

// clang-format off
const FailureCase kTable[] = {
    {"NoPort", kNoPort, {kParallel, kInfo, kBoot, kAuto, kTo4, kTo3}, {13}, false, "", "Select one in \"Com Port\""},
    {"NoPortInASerialDownload", kNoPort, {kSerial}, {13}, false, kErase},
    {"NoSpeed", kNoSpeed, {kParallel, kInfo, kBoot, kTo4, kTo3}, {380}, true},
    {"NoSpeedInAuto", kNoSpeed, {kAuto}, {380}, false},
    {"NoSpeedInASerialDownload", kNoSpeed, {kSerial}, {380}, false,
     "9600 Erase5x3 4800 Erase5x3 9600 Erase5x3 19200 Erase5x3 38400 Erase5x3"},
    {"NoNumber", kNoNumber, {kParallel, kInfo, kAuto, kTo4, kTo3}, {13}, false, "", ": Protocol contains"},
    {"NoNumberInBootInfo", kNoNumber, {kBoot}, {13}, true},
    {"NoNumberInASerialDownload", kNoNumber, {kSerial}, {13, 13, 13, 13, 13}, false, kErase},
    {"Refused", kRefused, {kParallel, kInfo, kBoot, kAuto, kTo4, kTo3}, {8002}, false},
    // The run goes on over a closed port: each flush and each erase has its own box, at each speed.
    {"RefusedInASerialDownload", kRefused, {kSerial},
     {8002, 8018, 8018, 8018, 8018, 8018, 8018, 8018, 8018}, false},
    // The search ends though no speed can be set: each one counts as tried.
    {"GoesAwayInASerialDownload", kGoesAway, {kSerial},
     {8020, 8020, 8020, 8020, 8020, 8020, 8020, 8020, 8020, 8020}, false, "9600 Erase5x2"},
    // The command has a box of its own; the next speed can't be set either.
    {"GoesAwayInADownload", kGoesAway, {kParallel}, {8020, 8020}, true, "9600 Erase5x2"},
    {"GoesAwayInFlashInfo", kGoesAway, {kInfo}, {8020, 8020}, true, "9600 Check5x2", "Quillon Error"},
    {"GoesAwayInTheMoveTo3", kGoesAway, {kTo3}, {8020, 8020}, true, "9600 To3:5x2", "Send55"},
    {"GoesAwayInTheMoveTo4", kGoesAway, {kTo4}, {8020, 8020}, true, "9600 To4:5x2", "SendP4"},
    {"GoesAwayInBootInfo", kGoesAway, {kBoot}, {8020}, true, "9600 Boot5x2"},
    {"GoesAwayInAuto", kGoesAway, {kAuto}, {8020}, false, "9600 Check0x2"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Troubles, RunFailure, testing::ValuesIn(kTable), testing::PrintToStringParamName());

TEST(RunFailure, CancelAndClosingEndARunWhileABoxStands) {
  for (const bool byCancel : {true, false}) {
    RunProgram program;
    program.ChooseHex(kImage);
    program.Tick({3, 5});
    kRefused(program);
    program.computer.onBox = [&](const ShownBox&) {
      if (program.computer.boxes.size() != 3) return;
      byCancel ? program.tool.message.Command1.Press() : program.tool.Close();
    };
    program.tool.ComLoad00.Press();
    EXPECT_EQ(program.computer.boxes.size(), 3u) << byCancel;
    EXPECT_EQ(program.computer.ended, !byCancel);
    EXPECT_TRUE(program.computer.boxAnswered);
  }
}

#ifndef _WIN32
TEST(RunFailure, AFullDiskUnderTheLogIsToldOnceAndHarmsNoRun) {
  RunProgram program(std::vector<bus::ControllerSetup>{{.number = 3}});
  program.Tick({3});
  {
    const FullDisk fullDisk;
    for (int run = 0; run < 50; ++run) {
      program.Press(kInfo);
      EXPECT_EQ(program.Row(3), "01/02/03 1E02");
      EXPECT_TRUE(program.Over());
    }
  }
  program.tool.Close();
  EXPECT_EQ(program.BoxNumbers(), std::vector<int>{RunError::kDiskFull});
  EXPECT_EQ(program.computer.sent.size(), 50u);
}
#endif

TEST(RunFailure, ABadDownloadSpeedEndsAParallelDownloadAndLetsASerialOneContinue) {
  for (const Button button : {kParallel, kSerial}) {
    RunProgram program(std::vector<bus::ControllerSetup>{{.number = 5}});
    program.ChooseHex(kImage);
    program.Tick({5});
    program.tool.DownloadSettings = "fast,N,8,2";
    program.Press(button);
    EXPECT_EQ(program.BoxNumbers(), std::vector<int>{380});
    const std::string talk = program.Talk();
    EXPECT_TRUE(button == kParallel ? talk == "9600 Erase5" : talk.starts_with("9600 Erase5 Batch5x3 "))
        << talk;
  }
}

/// Makes the operation fail that follows the event of this number among those of the phases of controllers.
class FailsAfter : public RunObserver {
 public:
  FailsAfter(RunProgram& program, int number) : left_(number) {
    program.tool.observers.push_back(this);
    program.computer.beforeOperation = [this] {
      if (std::exchange(armed_, false)) throw RunError(RunError::kDeviceFailed, "once");
    };
  }
  void OnRunEvent(const RunEvent& event) override {
    const bool ofPhase = std::holds_alternative<ControllerBegun>(event.what) ||
                         std::holds_alternative<ControllerEnded>(event.what);
    if (ofPhase && --left_ == 0) armed_ = true;
  }

 private:
  int left_;
  bool armed_ = false;
};

TEST(RunFailure, ASerialDownloadContinuesAfterAFlushThatFails) {
  constexpr int kEraseBegins = 1, kEraseEnds = 2, kProgrammingEnds = 6;
  for (const int number : {kEraseBegins, kEraseEnds, kProgrammingEnds}) {
    RunProgram program(std::vector<bus::ControllerSetup>{{.number = 5}});
    program.ChooseHex(kImage);
    program.Tick({5});
    const FailsAfter failure(program, number);
    program.Press(kSerial);
    EXPECT_EQ(program.BoxNumbers(), std::vector<int>{8020}) << number;
    EXPECT_EQ(program.Row(5), "12/05/31 07B6") << number;
  }
}

}  // namespace
}  // namespace quillon::test
