// What the events of a run amount to.
#include "results/verdict.h"

#include <gmock/gmock.h>

#include "results/row_tool_tips.h"
#include "results/run_results.h"
#include "workflows/run_program.h"

namespace quillon::test {
namespace {

using bus::Fault;
using Kind = Fault::Kind;

Fault On(bus::Command command, Fault fault) {
  fault.command = command;
  return fault;
}

/// The words of 3 and 5: "good/confirmed contradictory".
std::string WordsOf(const RunResults& results) {
  std::string words;
  for (const int y : results.Controllers()) {
    const Verdict verdict = results.VerdictOf(y);
    EXPECT_EQ(verdict.good, verdict.word == "good" || verdict.word == "read" || verdict.word == "found");
    words += (words.empty() ? "" : " ") + verdict.word;
    if (!verdict.evidence.empty()) words += "/" + verdict.evidence;
  }
  return words;
}

struct VerdictCase {
  const char* name;
  std::vector<Button> buttons;
  std::vector<Fault> faultsOf3;
  std::vector<Fault> faultsOf5;
  const char* words;   // after the last run
  const char* reason;  // a part of that of 5
  std::function<void(RunProgram&)> prepare = {};
};

TEST(RunResults, JudgeAllEvidence) {
  using enum bus::Command;
  const Fault lost{.first = 3, .last = 5, .command = Batch};
  const Fault refused{.kind = Kind::Code, .value = 0xE1, .command = Checksum};
  const Fault refusedOnce{.kind = Kind::Code, .last = 1, .value = 0xE1, .command = Checksum};
  const auto withoutFile = [](RunProgram& program) { program.tool.FileName.SetText(""); };
  const auto cancelled = [](RunProgram& program) {
    program.CancelWhen("Controller 5 : Programming Batch 2");
  };
  const auto infoClosed = [](RunProgram& program) {
    program.computer.When([&] { return program.Row(3) != " "; }, [&] { program.tool.info.ComClose.Press(); });
  };
  // clang-format off
  const VerdictCase cases[] = {
      {"parallel", {kParallel}, {}, {}, "good/confirmed good/confirmed", "confirmed the full checksum"},
      {"serial", {kSerial}, {}, {refusedOnce}, "good/proven good/proven", "acknowledged every batch"},
      {"survey", {kParallel, kInfo}, {}, {}, "good/read-back good/read-back", "this run loaded nothing"},
      {"without a file", {kInfo}, {}, {}, "read read", "no file to compare", withoutFile},
      {"boot code", {kBoot}, {}, {}, "read read", "boot code"},
      {"Auto", {kAuto}, {}, {}, "found found", "at 9600"},
      {"silent gap", {kParallel}, {}, {lost}, "good/confirmed contradictory", "refused the full"},
      {"silent gap, surveyed", {kParallel, kInfo}, {}, {lost}, "good/read-back contradictory", "refused the full"},
      {"silent gap, loaded again", {kParallel, kSerial}, {}, {lost}, "good/proven good/proven", ""},
      {"refused", {kSerial}, {}, {refused}, "good/proven contradictory", "refused the full"},
      {"checksum damaged", {kParallel}, {}, {On(Checksum, {.kind = Kind::Corrupt})},
       "good/confirmed unconfirmed", "neither"},
      {"another's answer", {kParallel}, {On(Check, {.kind = Kind::Late, .delay = 1150ms})},
       {On(Batch, {.last = 1}), On(Check, {})}, "good/confirmed contradictory", "came from controller 3"},
      {"batch lost", {kParallel}, {}, {On(Batch, {.last = 1})}, "good/confirmed not-programmed", "of the file"},
      {"not loaded", {kInfo}, {}, {}, "other-image other-image", "of the file"},
      {"silent", {kInfo}, {}, {{}}, "other-image no-answer", "did not answer"},
      {"silent, erased", {kParallel}, {}, {On(Batch, {.kind = Kind::Dead})}, "good/confirmed no-answer",
       "it did not answer, and it is erased"},
      {"silent, confirmed", {kSerial}, {}, {On(Check, {})}, "good/proven no-answer",
       "it did not answer, but it confirmed the full checksum"},
      {"damaged", {kParallel}, {On(Erase, {.kind = Kind::Corrupt})}, {}, "damaged-answers not-read", "not erased"},
      {"damaged at its speed, silent at others", {kInfo}, {}, {On(Check, {.kind = Kind::Corrupt})},
       "other-image damaged-answers", "damaged"},
      {"erase refused", {kSerial}, {}, {On(Erase, {.kind = Kind::Code, .value = 0xE1})},
       "good/proven erase-refused", "it refused the command, and it may be erased"},
      {"erase refused, then silent", {kSerial}, {},
       {On(Erase, {.kind = Kind::Code, .last = 1, .value = 0xE1}), On(Erase, {.first = 2})},
       "good/proven no-answer", "it did not answer, and it may be erased"},
      {"cancelled", {kSerial}, {}, {}, "good/proven not-read", "it is erased", cancelled},
      {"Info closed", {kParallel}, {}, {}, "good/confirmed good/confirmed", "", infoClosed},
  };
  // clang-format on
  for (const VerdictCase& c : cases) {
    const auto setup = [](int number, const std::vector<Fault>& faults) {
      return bus::ControllerSetup{.number = number, .faults = faults};
    };
    bus::ControllerSetup five = setup(5, c.faultsOf5);
    // The first controller of a serial download leaves the tool at the speed and the protocol of the image.
    if (c.buttons.front() == kSerial) five.baud = 19200, five.protocol = 0x41;
    RunProgram program({setup(3, c.faultsOf3), five});
    program.ChooseHex(ImageWithSilentGap());
    program.Tick({3, 5});
    RunResults results;
    program.tool.observers.push_back(&results);
    if (c.prepare) c.prepare(program);
    for (const Button button : c.buttons) program.Press(button);
    EXPECT_EQ(WordsOf(results), c.words) << c.name;
    EXPECT_THAT(results.VerdictOf(5).reason, testing::HasSubstr(c.reason)) << c.name;
  }
}

/// The word for controller 1 after a survey in which these controllers answered with these numbers.
std::string WordAfterAnswers(const std::vector<std::pair<int, std::uint8_t>>& answers) {
  RunResults results;
  RunStarted started{};
  started.kind = RunKind::kFlashInfo;
  results.OnRunEvent({0, started});
  for (const auto& [asked, number] : answers) {
    results.OnRunEvent({0, AnswerReceived{asked, Judgement::kGood, {0x40, number, 0x07}, 0}});
    results.OnRunEvent({0, RowFilled{asked, RowContent::kFlash, "01/02/03", "1E02"}});
  }
  return results.VerdictOf(1).word;
}

TEST(RunResults, CountAnotherNumberOnlyWhereAnswersContainNumbers) {
  EXPECT_EQ(WordAfterAnswers({{1, 2}, {2, 2}, {3, 3}}), "contradictory");
  EXPECT_EQ(WordAfterAnswers({{1, 2}, {2, 3}, {3, 3}, {3, 3}, {3, 3}}), "contradictory");
  EXPECT_EQ(WordAfterAnswers({{1, 1}, {2, 3}, {3, 3}}), "read") << "the answer to 2 concerns 2 alone";
  EXPECT_EQ(WordAfterAnswers({{1, 3}, {2, 3}, {3, 3}}), "read") << "all write the same number";
  EXPECT_EQ(WordAfterAnswers({{1, 3}, {2, 0x41}, {3, 3}}), "read") << "not a controller's number";
}

TEST(RowToolTips, ShowTheVerdictsOfTheRunThatFilledTheRows) {
  RunProgram program({{.number = 3}, {.number = 5, .baud = 19200, .protocol = 0x41}});
  program.ChooseHex(kImage);
  program.Tick({3, 5});
  RowToolTips toolTips(program.tool.info);
  program.tool.observers.push_back(&toolTips);
  const auto tip = [&](int y) { return program.tool.info.CkSum(y).ToolTip(); };
  program.CancelWhen("Controller 5 : Programming Batch 2");
  program.Press(kSerial);
  EXPECT_THAT(tip(3), testing::StartsWith("good: it acknowledged every batch"));
  EXPECT_EQ(program.Row(5), " ");
  EXPECT_EQ(tip(5), "not-read: the run ended before it was read back, and it is erased; load it again");
  program.Press(kAuto);
  EXPECT_THAT(tip(5), testing::StartsWith("not-read"));
  program.Tick({3});
  program.Press(kInfo);
  EXPECT_THAT(tip(3), testing::StartsWith("good: it reads back equal"));
  EXPECT_EQ(tip(5), "");
}

}  // namespace
}  // namespace quillon::test
