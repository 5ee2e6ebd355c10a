// What the operator can do in the middle of a run: cancel it, end the program, click again, change the
// controls.
#include <gtest/gtest.h>

#include "workflows/run_bench.h"

namespace quillon::test {
namespace {

using Texts = std::vector<std::string>;

/// Controllers 3 and 5 ticked, a file chosen; 5 listens where a serial download comes to it.
class InterruptedBench : public RunBench {
 public:
  explicit InterruptedBench(Button workflow) : button(workflow) {
    const bool serial = button == &Quillon::ComLoad00;
    bus.Add({.number = 3});
    bus.Add({.number = 5,
             .baud = serial ? 19200 : 9600,
             .protocol = static_cast<std::uint8_t>(serial ? 0x41 : 0x40)});
    ChooseHex(kImage);
    Tick({3, 5});
  }

  /// Runs the workflow; at the first yield behind frame `n` the operator acts.
  void Run(std::size_t n, const std::function<void()>& act) {
    world.When([this, n] { return world.sent.size() >= n; },
               [this, act] {
                 sentBefore = world.sent.size();
                 act();
               });
    (tool.*button).Press();
  }

  std::size_t SentBehind() const { return world.sent.size() - sentBefore; }

  Button button;
  std::size_t sentBefore = 0;
};

struct Phase {
  const char* at;  // the frame on the line when the operator acts
  const char* row3;
  const char* row5;
  std::size_t sentBehind = 0;
};
struct PhasesCase {
  const char* name;
  Button button;
  std::vector<Phase> phases;
};
void PrintTo(const PhasesCase& c, std::ostream* out) { *out << c.name; }

const char* const kNo = "No Answer";  // readied for the next speed, which is not tried any more
const char* const kNoInRed = "No Answer red";
const char* const kGood = "12/05/31 07B6";
// clang-format off
const PhasesCase kPhasesCases[] = {
    {"Parallel", &Quillon::ComLoad,
     {{"erase of 3", kNo, " "},
      {"erase of 5", " ", kNo},
      {"first batch", " ", " "},
      {"last batch", kNoInRed, " "},  // taken note of only in the exchange behind it
      {"checksum of 3", kNoInRed, " "},
      {"checksum of 5", " ", kNoInRed},
      {"check of 3", kNoInRed, " "},
      {"check of 5", kGood, kNoInRed}}},
    {"Serial", &Quillon::ComLoad00,
     {{"erase of 3", kNo, " "},
      {"first batch of 3", " ", " "},
      {"last batch of 3", " ", " "},
      {"checksum of 3", kNoInRed, " "},
      {"check of 3", kNoInRed, " ", 3},  // the check asks once at each speed that is left
      {"erase of 5", kGood, kNo},
      {"first batch of 5", kGood, " "},
      {"last batch of 5", kGood, " "},
      {"checksum of 5", kGood, kNoInRed},
      {"check of 5", kGood, kNoInRed, 3}}},
    {"FlashInfo", &Quillon::ComInfo, {{"check of 3", kNo, " "}, {"check of 5", "01/02/03 1E02 marked", kNo}}},
    {"BootInfo", &Quillon::ComBoot, {{"boot check of 3", kNo, " "}, {"boot check of 5", "01/00/00 B007", kNo}}},
    {"To3", &Quillon::Cmd4to3, {{"move of 3", kNo, " "}, {"move of 5", " ", kNo}}},
    {"Auto", &Quillon::Auto, {{"first probe of 0", " ", " "}, {"second probe of 0", " ", " "}}},
};
// clang-format on

class Interruption : public testing::TestWithParam<PhasesCase> {};
INSTANTIATE_TEST_SUITE_P(Runs, Interruption, testing::ValuesIn(kPhasesCases),
                         testing::PrintToStringParamName());

TEST_P(Interruption, CancelEndsTheRunInEachPhase) {
  for (std::size_t n = 0; n < GetParam().phases.size(); ++n) {
    const Phase& phase = GetParam().phases[n];
    SCOPED_TRACE(phase.at);
    InterruptedBench bench(GetParam().button);
    bench.tool.RUD3.SetValue(GetParam().button == &Quillon::Cmd4to3);
    bench.Run(n + 1, [&] { bench.tool.message.Command1.Press(); });
    EXPECT_EQ(bench.SentBehind(), phase.sentBehind);
    EXPECT_EQ((Texts{bench.Row(3), bench.Row(5)}), (Texts{phase.row3, phase.row5}));
    EXPECT_FALSE(bench.world.open);
    EXPECT_FALSE(bench.tool.message.Visible());
    EXPECT_TRUE(bench.tool.C(3).Ticked() && bench.tool.C(5).Ticked());
    const std::size_t sent = bench.world.sent.size();
    bench.tool.ComInfo.Press();
    EXPECT_GT(bench.world.sent.size(), sent) << "the next run starts afresh";
  }
}

TEST_P(Interruption, ClosingTheMainWindowEndsTheProgramInEachPhase) {
  for (std::size_t n = 0; n < GetParam().phases.size(); ++n) {
    SCOPED_TRACE(GetParam().phases[n].at);
    InterruptedBench bench(GetParam().button);
    bench.tool.RUD3.SetValue(GetParam().button == &Quillon::Cmd4to3);
    bench.Run(n + 1, [&] { bench.tool.Close(); });
    EXPECT_EQ(bench.SentBehind(), 0u);
    EXPECT_TRUE(bench.world.ended);
    EXPECT_FALSE(bench.world.open);
    EXPECT_EQ(bench.Read("Quillon.cfg").substr(0, 5), "500\r\n");
    EXPECT_NE(bench.Read("Log.txt"), "");
  }
}

struct RunCase {
  Button button;
};
void PrintTo(const RunCase& c, std::ostream* out) { *out << NameOf(c.button); }

constexpr RunCase kRuns[] = {{&Quillon::ComLoad}, {&Quillon::ComLoad00}, {&Quillon::ComInfo},
                             {&Quillon::ComBoot}, {&Quillon::Cmd4to3},   {&Quillon::Cmd3to4},
                             {&Quillon::Auto}};
constexpr std::size_t kRunsThatShowFailures = 5;  // the first ones

class AnyRun : public testing::TestWithParam<RunCase> {};
class RunThatShowsFailures : public AnyRun {};
INSTANTIATE_TEST_SUITE_P(Buttons, AnyRun, testing::ValuesIn(kRuns), testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(Buttons, RunThatShowsFailures,
                         testing::ValuesIn(kRuns, kRuns + kRunsThatShowFailures),
                         testing::PrintToStringParamName());

TEST_P(RunThatShowsFailures, StillFillsTheRowWhenCancelledMeanwhile) {
  RunBench bench;
  bench.ChooseHex(kImage);
  bench.Tick({3, 5});
  bench.tool.RUD3.SetValue(GetParam().button == &Quillon::Cmd4to3);
  bench.CancelWhen(" : No Answer");
  (bench.tool.*GetParam().button).Press();
  EXPECT_EQ(bench.world.sent.size(), 3u);
  EXPECT_EQ((Texts{bench.Row(3), bench.Row(5)}), (Texts{kNo, " "}));
  EXPECT_FALSE(bench.world.open);
}

TEST_P(AnyRun, AnotherClickOnlyBeeps) {
  const auto press = [](InterruptedBench& bench, const std::function<void()>& act) {
    bench.tool.RUD3.SetValue(CheckBox::kTicked);
    bench.Run(2, act);
  };
  InterruptedBench undisturbed(GetParam().button);
  press(undisturbed, [] {});
  for (const auto [other] : kRuns) {
    SCOPED_TRACE(NameOf(other));
    InterruptedBench bench(GetParam().button);
    press(bench, [&] { (bench.tool.*other).Press(); });
    EXPECT_EQ(bench.Talk(), undisturbed.Talk());
    const bool takesTheClick =
        !(GetParam().button == &Quillon::Auto && other == GetParam().button);  // it is disabled
    EXPECT_EQ(bench.world.beeps, undisturbed.world.beeps + (takesTheClick ? 1 : 0));
    EXPECT_EQ(bench.world.openedPorts.size(), 1u);
    for (int i = 0; i < kControllers; ++i) EXPECT_EQ(bench.Row(i), undisturbed.Row(i));
  }
}

TEST(Interruption, CancelBetweenTwoBatchesSendsNoMore) {
  for (const auto& [button, talk] : {std::pair(&Quillon::ComLoad, "9600 E3 E5 38400 B"),
                                     std::pair(&Quillon::ComLoad00, "9600 E3 38400 B3")}) {
    InterruptedBench bench(button);
    bench.CancelWhen("Programming Batch 2");
    (bench.tool.*button).Press();
    EXPECT_EQ(bench.Talk(), talk);
    EXPECT_FALSE(bench.world.open);
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
  InterruptedBench bench(GetParam().button);
  bench.Run(GetParam().atFrame, [&] { GetParam().act(bench.tool); });
  EXPECT_EQ(bench.Talk(), GetParam().talk);
  EXPECT_EQ((Texts{bench.Row(3), bench.Row(5)}), GetParam().rows);
  EXPECT_FALSE(bench.world.open);
}

const char* const kRead = "01/02/03 1E02 marked";
// clang-format off
const ChangeCase kChangeCases[] = {
    {"Untick", &Quillon::ComLoad, 3, [](Quillon& tool) { tool.C(5).SetValue(0); }, "9600 E3 E5 38400 B B S3 19200 C3",
     {kGood, " "}},
    {"UntickStillChecksWhatIsProgrammed", &Quillon::ComLoad00, 2, [](Quillon& tool) { tool.NONE.Press(); },
     "9600 E3 38400 B3 B3 S3 19200 C3", {kGood, " "}},
    {"None", &Quillon::ComInfo, 1, [](Quillon& tool) { tool.NONE.Press(); }, "9600 C3", {kRead, " "}},
    {"AllButTheLast", &Quillon::ComBoot, 2,
     [](Quillon& tool) {
       tool.ALL.Press();
       for (int i = 7; i < kControllers; ++i) tool.C(i).SetValue(0);
     },
     "9600 T3 T5 T6x3 4800 T6x3 19200 T6x3 38400 T6x3", {"01/00/00 B007", "01/00/00 B007"}},
    {"Protocol", &Quillon::ComInfo, 1, [](Quillon& tool) { tool.Protocol.SetText("4"); },
     "9600 C3 C5x3 4800 C5x3 19200 C5x3 38400 C5x3", {kRead, kNoInRed}},
    {"ProtocolCleared", &Quillon::ComLoad, 4, [](Quillon& tool) { tool.Protocol.SetText(""); },
     "9600 E3 E5 38400 B B S3 S5 19200 C3 C5", {kGood, kGood}},
    {"Speed", &Quillon::ComInfo, 1, [](Quillon& tool) { tool.Vitesse.SetText("4800"); },
     "9600 C3 4800 C5x3 9600 C5", {kRead, kRead}},
    {"InfoClosed", &Quillon::ComInfo, 2, [](Quillon& tool) { tool.info.ComClose.Press(); }, "9600 C3 C5",
     {" ", "01/02/03 1E02"}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Changes, ChangeInARun, testing::ValuesIn(kChangeCases),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace quillon::test
