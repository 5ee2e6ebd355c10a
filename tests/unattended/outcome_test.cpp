// The error category of a box, and the estimate of a run.
#include <gmock/gmock.h>

#include "results/estimate.h"
#include "unattended/error_category.h"

namespace quillon {
namespace {

TEST(ErrorCategory, OfABox) {
  const std::tuple<int, const char*, ErrorCategory> kBoxes[] = {
      {0, "send p4 OK!!!", ErrorCategory::kNone},
      {0, "File not Found!", ErrorCategory::kFile},
      {0, "something new", ErrorCategory::kController},
      {8020, "Error #  8020\nDevice failed: COM 7 was disconnected.", ErrorCategory::kPort},
      {70, "Error #  70\nPermission denied: you have no right to COM 7 (/dev/ttyS6).", ErrorCategory::kPort},
      {53, "Error #  53\nFile not found", ErrorCategory::kFile},
      {70, "Error #  70\nPermission denied: another copy writes \"/a/Log.txt\".", ErrorCategory::kFile},
  };
  for (const auto& [number, text, category] : kBoxes) EXPECT_EQ(BoxCategory(number, text), category) << text;
  EXPECT_EQ(Worse(ErrorCategory::kPort, ErrorCategory::kFile), ErrorCategory::kPort);
  EXPECT_EQ(Worse(ErrorCategory::kPort, ErrorCategory::kCancelled), ErrorCategory::kCancelled);
  EXPECT_EQ(Worse(ErrorCategory::kController, ErrorCategory::kUsage), ErrorCategory::kUsage);
}

RunFacts Facts(RunKind kind) {
  RunFacts facts;
  facts.kind = kind;
  facts.controllers = {1, 2};
  facts.batchFrames = {110, 110, 55};
  facts.speed = 9600;
  facts.downloadSpeed = 4800;
  facts.delay = 0.2;
  facts.timeOut = 1;
  return facts;
}

// Expected by hand: 110 bytes at 4800 take 0.252 s, longer than the delay; 55 take 0.126 s, shorter.
TEST(Estimate, AddsUpTheStepsOfARun) {
  constexpr double kPauses = 0.505;  // the answer's pause, and the time to the answer
  const double erase = 11 * 11 / 9600.0 + kPauses, check = 8 * 11 / 9600.0 + kPauses;
  const double confirm = 14 * 11 / 4800.0 + kPauses;
  const double rest = 2 * (erase + confirm + check);
  EXPECT_NEAR(Estimate(Facts(RunKind::kParallel)).SecondsLeft(0), rest + 2 * 0.252 + 0.2, 0.01);
  const double batches = 2 * (111 * 11 / 4800.0 + kPauses) + 56 * 11 / 4800.0 + kPauses;
  EXPECT_NEAR(Estimate(Facts(RunKind::kSerial)).SecondsLeft(0), rest + 2 * batches, 0.01);
}

// Controller 2 is found at 4800: the check begins there, loses 6.5 s for 1 and as many for 2.
TEST(Estimate, LearnsWhereControllersWereFound) {
  Estimate estimate(Facts(RunKind::kParallel));
  estimate.Follow({0, ControllerBegun{1, Phase::kErase}}, 0);
  estimate.Follow({0, ControllerBegun{2, Phase::kErase}}, 1);
  estimate.Follow({0, SpeedChanged{"4800"}}, 7);
  estimate.Follow({0, ControllerEnded{2, Phase::kErase}}, 7);
  estimate.Follow({0, SpeedChanged{"38400"}}, 8);  // for the batches
  estimate.Follow({0, BatchBegun{kEveryController, 2, 3}}, 8);
  EXPECT_EQ(estimate.BatchesDone(), 1);
  const double known = estimate.SecondsLeft(8);
  EXPECT_NEAR(known, 0.252 + 0.2 + 2 * 0.537 + 2 * 0.52 + 2 * 6.5, 0.05);
  EXPECT_NEAR(estimate.SecondsLeft(8.1), known - 0.1, 1e-9);
  estimate.Follow({0, ControllerBegun{2, Phase::kCheck}}, 20);
  EXPECT_EQ(estimate.BatchesDone(), estimate.Batches());
  EXPECT_EQ(estimate.ControllersDone(), 1);
  EXPECT_EQ(estimate.SecondsLeft(30), 0);
}

// The first batch was taken in 1 s: so will the others be.
TEST(Estimate, MeasuresWhatAControllerTakesForABatch) {
  Estimate estimate(Facts(RunKind::kSerial));
  estimate.Follow({0, BatchBegun{1, 1, 3}}, 10);
  estimate.Follow({0, BatchBegun{1, 2, 3}}, 11);
  EXPECT_NEAR(estimate.SecondsLeft(11), 5 * 1 + 2 * 0.537 + 2 * 0.515 + 0.518, 0.01);
}

}  // namespace
}  // namespace quillon
