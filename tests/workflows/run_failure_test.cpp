// Runs that meet a run-time failure: which boxes come, what still goes out, what becomes of the port.
#include <gtest/gtest.h>

#include "workflows/run_bench.h"

namespace quillon::test {
namespace {

using Numbers = std::vector<int>;

struct FailureCase {
  const char* name;
  std::function<void(Bench&)> trouble;
  Button button;
  Numbers boxes;
  bool portLeftOpen;
  const char* talk = "";
};
void PrintTo(const FailureCase& c, std::ostream* out) { *out << c.name << NameOf(c.button); }

class RunFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(RunFailure, ShowsItsBoxesAndLeavesTheNextRunFree) {
  const FailureCase& c = GetParam();
  RunBench bench;
  bench.ChooseHex(kImage);
  bench.Tick({5});
  bench.tool.RUD3.SetValue(c.button == &Quillon::Cmd3to4 || c.button == &Quillon::Cmd4to3);
  c.trouble(bench);
  (bench.tool.*c.button).Press();
  EXPECT_EQ(bench.BoxNumbers(), c.boxes);
  EXPECT_EQ(bench.Talk(), c.talk);
  EXPECT_EQ(bench.world.open, c.portLeftOpen);
  EXPECT_TRUE(bench.tool.Auto.Enabled());
  EXPECT_EQ(bench.tool.Text1.Text(), "500");

  bench.world.beforeOperation = nullptr;
  bench.tool.ComPort.SetText("COM 2");
  bench.tool.Vitesse.SetText("9600");
  bench.tool.Protocol.SetText("63");
  bench.tool.ComInfo.Press();
  EXPECT_EQ(bench.BoxNumbers(), c.boxes) << "no box of the next run";
  EXPECT_EQ(bench.world.openedPorts.back(), 2);
  EXPECT_FALSE(bench.world.open);
}

const auto kNoPort = [](Bench& bench) { bench.tool.ComPort.Reset(); };
const auto kNoSpeed = [](Bench& bench) { bench.tool.Vitesse.Reset(); };
const auto kNoNumber = [](Bench& bench) { bench.tool.Protocol.SetText("x"); };
const auto kTooHigh = [](Bench& bench) { bench.tool.Protocol.SetText("255"); };
const auto kRefused = [](Bench& bench) {
  bench.world.beforeOperation = [] { throw RunError(RunError::kInvalidPort, "no such port"); };
};
const auto kGoesAway = [](Bench& bench) {
  bench.world.When(
      [&] { return bench.world.sent.size() == 2; },
      [&] { bench.world.beforeOperation = [] { throw RunError(RunError::kDeviceFailed, "gone"); }; });
};
constexpr Button kParallel = &Quillon::ComLoad;
constexpr Button kSerial = &Quillon::ComLoad00;
constexpr Button kInfo = &Quillon::ComInfo;
constexpr Button kBoot = &Quillon::ComBoot;
constexpr Button kAuto = &Quillon::Auto;
constexpr Button kTo4 = &Quillon::Cmd3to4;
constexpr Button kTo3 = &Quillon::Cmd4to3;

const char* const kErase = "9600 E5x3 4800 E5x3 19200 E5x3 38400 E5x3";
// clang-format off
const FailureCase kFailureCases[] = {
    {"NoPort", kNoPort, kParallel, {13}, false},
    {"NoPort", kNoPort, kSerial, {13}, false, kErase},
    {"NoPort", kNoPort, kInfo, {13}, false},
    {"NoPort", kNoPort, kBoot, {13}, false},
    {"NoPort", kNoPort, kAuto, {13}, false},
    {"NoPort", kNoPort, kTo4, {13}, false},
    {"NoPort", kNoPort, kTo3, {13}, false},
    {"NoSpeed", kNoSpeed, kParallel, {380}, true},
    {"NoSpeed", kNoSpeed, kSerial, {380}, false, "9600 E5x3 4800 E5x3 9600 E5x3 19200 E5x3 38400 E5x3"},
    {"NoSpeed", kNoSpeed, kInfo, {380}, true},
    {"NoSpeed", kNoSpeed, kBoot, {380}, true},
    {"NoSpeed", kNoSpeed, kAuto, {380}, false},
    {"NoSpeed", kNoSpeed, kTo4, {380}, true},
    {"NoNumber", kNoNumber, kParallel, {13}, false},
    {"NoNumber", kNoNumber, kSerial, {13, 13, 13, 13, 13}, false, kErase},
    {"NoNumber", kNoNumber, kInfo, {13}, false},
    {"NoNumber", kNoNumber, kBoot, {13}, true},
    {"NoNumber", kNoNumber, kAuto, {13}, false},
    {"NoNumber", kNoNumber, kTo3, {13}, false},
    {"TooHigh", kTooHigh, kParallel, {6}, false},
    {"TooHigh", kTooHigh, kBoot, {6}, true},
    {"Refused", kRefused, kParallel, {8002}, false},
    // The run goes on over a closed port: each flush and each erase has its own box, at each speed.
    {"Refused", kRefused, kSerial, {8002, 8018, 8018, 8018, 8018, 8018, 8018, 8018, 8018}, false},
    {"Refused", kRefused, kInfo, {8002}, false},
    {"Refused", kRefused, kBoot, {8002}, false},
    {"Refused", kRefused, kAuto, {8002}, false},
    {"Refused", kRefused, kTo4, {8002}, false},
    // The command has a box of its own; the next speed can't be set either.
    {"GoesAway", kGoesAway, kParallel, {8020, 8020}, true, "9600 E5x2"},
    {"GoesAway", kGoesAway, kInfo, {8020, 8020}, true, "9600 C5x2"},
    {"GoesAway", kGoesAway, kBoot, {8020}, true, "9600 T5x2"},
    {"GoesAway", kGoesAway, kAuto, {8020}, false, "9600 C0x2"},
    {"GoesAway", kGoesAway, kTo3, {8020, 8020}, true, "9600 Q5x2"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Troubles, RunFailure, testing::ValuesIn(kFailureCases),
                         testing::PrintToStringParamName());

TEST(RunFailure, NamesTheRunInItsBox) {
  const struct {
    Button button;
    const char* title;
    const char* end;
  } kCases[] = {{kInfo, "Quillon Error", ""},
                {kBoot, "Quillon Error", "\r\n comBoot_Click"},
                {kAuto, "Quillon Error", ""},
                {kTo4, "Cmd3to4_Click ", ""},
                {kTo3, "Cmd4to3_Click ", ""}};
  for (const auto& c : kCases) {
    Bench bench;
    bench.tool.RUD3.SetValue(CheckBox::kTicked);
    kRefused(bench);
    (bench.tool.*c.button).Press();
    const std::string text = std::string("Error #  8002\rno such port") + c.end;
    EXPECT_EQ(bench.world.boxes, (std::vector<ShownBox>{{text, c.title}}));
  }
}

TEST(RunFailure, CancelWorksBetweenTheBoxesOfASerialDownload) {
  RunBench bench;
  bench.ChooseHex(kImage);
  bench.Tick({3, 5});
  kRefused(bench);
  bench.world.When([&] { return bench.world.boxes.size() == 3; },
                   [&] { bench.tool.message.Command1.Press(); });
  bench.tool.ComLoad00.Press();
  EXPECT_EQ(bench.world.boxes.size(), 3u);
}

}  // namespace
}  // namespace quillon::test
