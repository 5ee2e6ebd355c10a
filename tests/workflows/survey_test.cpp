// The runs that change nothing but the protocol: Flash Info, Boot Info, Auto and the protocol buttons.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "workflows/run_bench.h"

namespace quillon::test {
namespace {

using bus::BootProtocol;
using bus::Command;
using bus::Fault;
using Texts = std::vector<std::string>;

constexpr Button kInfo = &Quillon::ComInfo;
constexpr Button kBoot = &Quillon::ComBoot;
constexpr Button kTo4 = &Quillon::Cmd3to4;
constexpr Button kTo3 = &Quillon::Cmd4to3;

/// Presses a button of a bench on which the protocol buttons show too.
void Press(Bench& bench, Button button) {
  bench.tool.RUD3.SetValue(CheckBox::kTicked);
  (bench.tool.*button).Press();
}

struct SpeedCase {
  const char* start;
  std::vector<const char*> order;
};
void PrintTo(const SpeedCase& c, std::ostream* out) { *out << c.start; }

class SpeedSearch : public testing::TestWithParam<std::tuple<SpeedCase, std::pair<Button, const char*>>> {};

TEST_P(SpeedSearch, BeginsWhereTheLastOneEndedAndGoesOnFromTheLowest) {
  const auto& [speeds, workflow] = GetParam();
  RunBench bench;
  bench.ChooseHex(kImage);
  bench.Tick({5});
  bench.tool.Vitesse.SetText(speeds.start);
  Press(bench, workflow.first);
  std::string expected;
  for (const char* speed : speeds.order) expected += std::string(" ") + speed + " " + workflow.second;
  EXPECT_EQ(" " + bench.Talk(), expected);
  EXPECT_EQ(bench.tool.Vitesse.Text(), speeds.order.back());
  EXPECT_EQ(bench.Row(5), workflow.first == kTo4 ? " " : "No Answer red");
  EXPECT_FALSE(bench.world.open);
  EXPECT_FALSE(bench.tool.message.Visible());
}

INSTANTIATE_TEST_SUITE_P(
    SilentLine, SpeedSearch,
    testing::Combine(testing::Values(SpeedCase{"4800", {"4800", "9600", "19200", "38400"}},
                                     SpeedCase{"9600", {"9600", "4800", "19200", "38400"}},
                                     SpeedCase{"19200", {"19200", "4800", "9600", "38400"}},
                                     SpeedCase{"38400", {"38400", "4800", "9600", "19200"}}),
                     testing::Values(std::pair(kInfo, "C5x3"), std::pair(kBoot, "T5x3"),
                                     std::pair(kTo4, "P5x3"), std::pair(kTo3, "Q5x3"),
                                     std::pair(&Quillon::ComLoad, "E5x3"),
                                     std::pair(&Quillon::ComLoad00, "E5x3"))),
    [](const auto& tested) {
      return NameOf(std::get<1>(tested.param).first) + std::string("From") + std::get<0>(tested.param).start;
    });

struct SurveyCase {
  const char* name;
  Button button;
  const char* protocol;
  std::vector<bus::ControllerSetup> controllers;  // of numbers 3 and 5
  const char* talk;
  Texts rows;
  const char* speed;
  std::size_t boxes = 0;
  int beeps = 0;
};
void PrintTo(const SurveyCase& c, std::ostream* out) { *out << c.name; }

class Survey : public testing::TestWithParam<SurveyCase> {};

TEST_P(Survey, AsksEachTickedController) {
  const SurveyCase& c = GetParam();
  RunBench bench(c.controllers);
  bench.tool.Protocol.SetText(c.protocol);
  bench.ChooseHex({":00000001FF"});  // checksum 1E02: of erased flash
  bench.Tick({3, 5});
  Press(bench, c.button);
  EXPECT_EQ(bench.Talk(), c.talk);
  EXPECT_EQ((Texts{bench.Row(3), bench.Row(5)}), c.rows);
  EXPECT_EQ(bench.tool.Vitesse.Text(), c.speed);
  EXPECT_EQ(bench.world.boxes.size(), c.boxes);
  EXPECT_EQ(bench.world.beeps, c.beeps);
  EXPECT_FALSE(bench.world.open);
  EXPECT_FALSE(bench.tool.message.Visible());
}

const Fault kLongBootAnswer{
    .kind = Fault::Kind::Length, .first = 1, .last = 2, .value = 14, .command = Command::Boot};
const Fault kNotMoved{.kind = Fault::Kind::Code, .value = 0xE1, .command = Command::ToProtocol3};
const bus::ControllerSetup kOtherFlash{.number = 5, .flash = {0xFE}, .form = bus::AnswerForm::Bytes14};
bus::ControllerSetup Boot(int number, BootProtocol protocol) {
  return {.number = number, .protocol = 5, .bootProtocol = protocol};
}

// clang-format off
const SurveyCase kSurveyCases[] = {
    {"Same", kInfo, "63", {{.number = 3}, {.number = 5}}, "9600 C3 C5", {"01/02/03 1E02", "01/02/03 1E02"}, "9600"},
    {"OtherChecksum", kInfo, "63", {{.number = 3}, kOtherFlash},
     "9600 C3 C5", {"01/02/03 1E02", "01/02/03 1E01 marked"}, "9600", 0, 1},
    {"FirstAt19200ThenAt4800", kInfo, "63", {{.number = 3, .baud = 19200}, {.number = 5, .baud = 4800}},
     "9600 C3x3 4800 C3x3 19200 C3 C5x3 4800 C5", {"01/02/03 1E02", "01/02/03 1E02"}, "4800"},
    {"SilentOnesSwingBetweenTheSpeeds", kInfo, "63", {},
     "9600 C3x3 4800 C3x3 19200 C3x3 38400 C3x3 C5x3 4800 C5x3 9600 C5x3 19200 C5x3",
     {"No Answer red", "No Answer red"}, "19200"},
    {"Boot", kBoot, "63", {{.number = 3}, {.number = 5, .flash = {0xFE}}},
     "9600 T3 T5", {"01/00/00 B007", "01/00/00 B007"}, "9600"},
    {"BootAsksAgainForTheOneLength", kBoot, "63", {{.number = 3, .faults = {kLongBootAnswer}}, {.number = 5}},
     "9600 T3x3 T5", {"01/00/00 B007", "01/00/00 B007"}, "9600"},
    {"BootByTheOwnProtocol", kBoot, "4", {Boot(3, BootProtocol::Own), Boot(5, BootProtocol::Own)},
     "9600 T3 T5", {"01/00/00 B007", "01/00/00 B007"}, "9600"},
    {"BootFallsBackForAllThatFollow", kBoot, "4", {Boot(3, BootProtocol::Fixed), Boot(5, BootProtocol::Fixed)},
     "9600 T3x3 T3 T5", {"01/00/00 B007", "01/00/00 B007"}, "9600"},
    {"To4", kTo4, "4", {{.number = 3, .protocol3 = true}, {.number = 5, .baud = 4800, .protocol3 = true}},
     "9600 P3 P5x3 4800 P5", {" ", " "}, "4800", 2},
    {"To4GoesOnBehindASilentOne", kTo4, "63", {{.number = 5, .protocol3 = true}},
     "9600 P3x3 4800 P3x3 19200 P3x3 38400 P3x3 P5x3 4800 P5x3 9600 P5", {" ", " "}, "9600", 1},
    {"To3", kTo3, "4", {{.number = 3}, {.number = 5}}, "9600 Q3 Q5", {" ", " "}, "9600"},
    {"To3Refused", kTo3, "63", {{.number = 3, .faults = {kNotMoved}}, {.number = 5, .baud = 38400}},
     "9600 Q3x3 4800 Q3x3 19200 Q3x3 38400 Q3x3 Q5", {"No Answer red", " "}, "38400"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Runs, Survey, testing::ValuesIn(kSurveyCases), testing::PrintToStringParamName());

TEST(FlashInfo, WithoutAFileComparesNothing) {
  RunBench bench;
  bench.bus.Add({.number = 3});
  for (int count : {0, 1, 31, 32}) {
    bench.TickFirst(count);
    bench.tool.ComInfo.Press();
    EXPECT_EQ(bench.Row(3), count < 4 ? " " : "01/02/03 1E02") << count;
    EXPECT_EQ(bench.Row(0), count == 0 ? " " : "No Answer red") << count;
  }
  EXPECT_EQ(bench.world.beeps, 0);
}

TEST(BootInfo, PreparesTheTableForItself) {
  RunBench bench;
  bench.ChooseHex(kImage);
  bench.tool.ComBoot.Press();
  EXPECT_EQ(bench.tool.info.Caption() + ", " + bench.tool.info.Titre.Text(), "Boot Info, Boot Info");
  EXPECT_FALSE(bench.tool.info.Label41.Visible() || bench.tool.info.FileCheksum.Visible());
  EXPECT_EQ(bench.tool.info.FileCheksum.Text(), "07B6");
  bench.tool.ComInfo.Press();
  EXPECT_EQ(bench.tool.info.Caption() + ", " + bench.tool.info.Titre.Text(), "Flash Info, Flash Info");
  EXPECT_TRUE(bench.tool.info.Label41.Visible() && bench.tool.info.FileCheksum.Visible());
}

TEST(BootInfo, SendsTheFixedProtocolUntilTheProgramEnds) {
  RunBench bench({Boot(3, BootProtocol::Own), Boot(5, BootProtocol::Fixed)});
  bench.tool.Protocol.SetText("4");
  bench.Tick({5});
  bench.tool.ComBoot.Press();
  EXPECT_EQ(bench.Sent().front(), "9600 05050475AA55509C7204");
  EXPECT_EQ(bench.Sent().back(), "9600 40050475AA5550383904");
  bench.Tick({3});
  bench.CancelAt(bench.world.Time() + 300s);  // nothing else ends a survey of a controller that keeps silent
  bench.tool.ComBoot.Press();
  EXPECT_EQ(bench.world.speeds, std::vector<int>(bench.world.speeds.size(), 9600));
  EXPECT_EQ(bench.Row(3), "No Answer red");
  EXPECT_FALSE(bench.world.open);
  const Texts log = bench.EndAndReadLog();
  EXPECT_EQ(Texts(log.begin(), log.begin() + 2),
            (Texts{"Message Checking BOOT", "05 05 04 75 AA 55 50 9C 72 04 "}));
}

TEST(Auto, TicksWhoAnswersAtAnySpeedAndPutsTheSettingsBack) {
  RunBench bench(
      {{.number = 0, .baud = 38400}, {.number = 7}, {.number = 31, .form = bus::AnswerForm::Bytes14}});
  bench.bus.Add({.number = 8, .faults = {{.kind = Fault::Kind::Length, .value = 7}}});
  bench.Tick({7, 9, 30});
  std::string during;
  bench.world.At(1s, [&] {
    during = bench.tool.Text1.Text() + " " + bench.tool.message.Label1.Text();
    EXPECT_TRUE(bench.tool.message.Jumelle.Visible());
    EXPECT_FALSE(bench.tool.Auto.Enabled());
  });
  bench.tool.Auto.Press();
  EXPECT_EQ(during, "50 Auto Detection in Progress  ...");
  for (int i = 0; i < kControllers; ++i) {
    EXPECT_EQ(bench.tool.C(i).Ticked(), i == 0 || i == 7 || i == 8 || i == 31) << i;
    EXPECT_EQ(bench.Row(i), " ");
  }
  EXPECT_THAT(bench.Talk(), testing::StartsWith("9600 C0x3 4800 C0x3 19200 C0x3 38400 C0 C1x3 4800 C1x3"));
  EXPECT_EQ(bench.tool.Text1.Text() + " " + bench.tool.Vitesse.Text(), "500 9600");
  EXPECT_TRUE(bench.tool.Auto.Enabled());
  EXPECT_FALSE(bench.world.open || bench.tool.message.Visible() || bench.tool.info.Visible());
}

TEST(Auto, SilentLineTakesThreeAndAHalfMinutes) {
  RunBench bench;
  bench.tool.ALL.Press();
  bench.tool.Vitesse.SetText("38400");
  bench.tool.Auto.Press();
  EXPECT_EQ(bench.world.sent.size(), 384u);
  EXPECT_GT(bench.world.Time(), 211s);
  EXPECT_LT(bench.world.Time(), 213s);
  EXPECT_THAT(bench.Talk(), testing::StartsWith("38400 C0x3 4800 C0x3 9600 C0x3 19200 C0x3 C1x3 4800 C1x3"));
  EXPECT_EQ(bench.tool.Vitesse.Text(), "38400");
  for (int i = 0; i < kControllers; ++i) EXPECT_FALSE(bench.tool.C(i).Ticked());
  const Texts log = bench.EndAndReadLog();
  EXPECT_EQ(log.size(), 256u);
  EXPECT_EQ(Texts(log.begin(), log.begin() + 2), (Texts{"Message : AutoDetection $73", "No Answer"}));
}

TEST(Auto, CancelAtNumber7KeepsTheBoxesFromThereOn) {
  RunBench bench;
  bench.bus.Add({.number = 2});
  bench.Tick({1, 7, 20});
  bench.world.When([&] { return bench.tool.CurrentController == 7 && bench.world.open; },
                   [&] { bench.tool.message.Command1.Press(); });
  bench.tool.Auto.Press();
  for (int i = 0; i < kControllers; ++i)
    EXPECT_EQ(bench.tool.C(i).Ticked(), i == 2 || i == 7 || i == 20) << i;
  EXPECT_EQ(bench.tool.Text1.Text() + " " + bench.tool.Vitesse.Text(), "500 9600");
  EXPECT_TRUE(bench.tool.Auto.Enabled());
  EXPECT_FALSE(bench.world.open);
}

TEST(Auto, EndedInTheMiddleSavesTheSettingsOfTheOperator) {
  RunBench bench;
  bench.world.At(20s, [&] { bench.tool.Close(); });
  bench.tool.Auto.Press();
  EXPECT_TRUE(bench.world.ended);
  EXPECT_FALSE(bench.world.open);
  EXPECT_LT(bench.world.Time(), 22s);
  EXPECT_THAT(bench.Read("Quillon.cfg"), testing::StartsWith("500\r\nCOM 1\r\n9600\r\n"));
}

}  // namespace
}  // namespace quillon::test
