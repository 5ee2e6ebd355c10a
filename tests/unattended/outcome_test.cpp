// What rows and boxes come down to, and how much of a run is left.
#include <gmock/gmock.h>

#include "unattended/forecast.h"
#include "unattended/verdict.h"

namespace quillon {
namespace {

TEST(Verdict, OfARow) {
  const QColor black(Qt::black), white(Qt::white);
  const struct {
    const char* version = nullptr;
    const char* checksum = nullptr;
    const char* fileChecksum = nullptr;
    QColor checksumText;
    const char* word = nullptr;
  } table[] = {
      {"12/05/31", "6E8C", "6E8C", black, "good"},
      {"12/05/31", "6E8C", "", black, "good"},
      {"12/05/31", "6E8C", "6E8D", white, "other-image"},
      {"12/05/31", "6E8C", "", white, "marked"},
      {"12/05/31", "", "", black, "not-read"},
      {"", "", "6E8C", black, "not-read"},
      {"No", "Answer", "6E8C", black, "no-answer"},  // black: left by an earlier run
      {"Communication", "ERROR", "", white, "damaged-answers"},
      {"communication", "Failure", "", white, "refused"},
      {"Programmation", "ERROR", "", white, "not-programmed"},
  };
  for (const auto& row : table) {
    const Verdict verdict = JudgeRow({row.version, row.checksum, black, row.checksumText, white},
                                     row.fileChecksum, Job::kParallel);
    EXPECT_EQ(verdict.word, row.word) << row.version;
    EXPECT_EQ(verdict.category == ErrorCategory::kNone, verdict.word == "good") << row.version;
    EXPECT_EQ(verdict.advice.isEmpty(), verdict.word == "good") << row.version;
  }
}

TEST(Verdict, OfABox) {
  const struct {
    const char* text;
    int number;
    ErrorCategory category;
  } table[] = {
      {"send p4 OK!!!", 0, ErrorCategory::kNone},
      {"File not Found!", 0, ErrorCategory::kFile},
      {"something new", 0, ErrorCategory::kController},
      {"Error #  8020\nDevice failed: COM 7 went away.", 8020, ErrorCategory::kPort},
      {"Error #  70\nPermission denied: you have no right to COM 7 (/dev/ttyS6).", 70, ErrorCategory::kPort},
      {"Error #  70\nPermission denied: another copy of the program writes \"/a/Log.txt\".", 70,
       ErrorCategory::kFile},
      {"Error #  53\nFile not found", 53, ErrorCategory::kFile},
  };
  for (const auto& row : table) {
    EXPECT_EQ(BoxNumber(row.text), row.number) << row.text;
    EXPECT_EQ(BoxCategory(row.text), row.category) << row.text;
  }
  EXPECT_EQ(Worse(ErrorCategory::kPort, ErrorCategory::kFile), ErrorCategory::kPort);
  EXPECT_EQ(Worse(ErrorCategory::kPort, ErrorCategory::kCancelled), ErrorCategory::kCancelled);
  EXPECT_EQ(Worse(ErrorCategory::kController, ErrorCategory::kUsage), ErrorCategory::kUsage);
}

RunFacts Facts(Job job) {
  RunFacts facts;
  facts.job = job;
  facts.controllers = {1, 2};
  facts.batchFrames = {110, 110, 55};
  facts.speed = 9600;
  facts.downloadSpeed = 4800;
  facts.delay = 0.2;
  facts.timeOut = 1;
  return facts;
}

// Expected by hand: 110 bytes at 4800 take 0.252 s, longer than the delay; 55 take 0.126 s, shorter.
TEST(Forecast, AddsUpTheStepsOfARun) {
  constexpr double kPauses = 0.505;  // the answer's pause, and the time to the answer
  const double erase = 11 * 11 / 9600.0 + kPauses, check = 8 * 11 / 9600.0 + kPauses;
  const double confirm = 14 * 11 / 4800.0 + kPauses;
  const double rest = 2 * (erase + confirm + check);
  EXPECT_NEAR(Forecast(Facts(Job::kParallel)).SecondsLeft(0), rest + 2 * 0.252 + 0.2, 0.01);
  const double batches = 2 * (111 * 11 / 4800.0 + kPauses) + 56 * 11 / 4800.0 + kPauses;
  EXPECT_NEAR(Forecast(Facts(Job::kSerial)).SecondsLeft(0), rest + 2 * batches, 0.01);
}

// Controller 2 is found at 4800: the check begins there, loses 6.5 s for 1 and as many for 2.
TEST(Forecast, LearnsWhereControllersWereFound) {
  Forecast forecast(Facts(Job::kParallel));
  forecast.See("Controller 1 : Erasing  (Speed : 9600 Bds) ...", 0);
  forecast.See("Controller 2 : Erasing  (Speed : 9600 Bds) ...", 1);
  forecast.See("Controller 2 : Erasing  (Speed : 4800 Bds) ...", 7);
  forecast.See(" Programming Batch 2    ...", 8);
  EXPECT_EQ(forecast.BatchesDone(), 1);
  const double known = forecast.SecondsLeft(8);
  EXPECT_NEAR(known, 0.252 + 0.2 + 2 * 0.537 + 2 * 0.52 + 2 * 6.5, 0.05);
  EXPECT_NEAR(forecast.SecondsLeft(8.1), known - 0.1, 1e-9);
  forecast.See("Controller 2 : Checking Flash  (Speed : 4800 Bds) ...", 20);
  EXPECT_EQ(forecast.BatchesDone(), forecast.Batches());
  EXPECT_EQ(forecast.ControllersDone(), 1);
  EXPECT_EQ(forecast.SecondsLeft(30), 0);
}

// The first batch was taken in 1 s: so will the others be.
TEST(Forecast, MeasuresWhatAControllerTakesForABatch) {
  Forecast forecast(Facts(Job::kSerial));
  forecast.See("Controller 1 : Programming Batch 1   ", 10);
  forecast.See("Controller 1 : Programming Batch 2   ", 11);
  EXPECT_NEAR(forecast.SecondsLeft(11), 5 * 1 + 2 * 0.537 + 2 * 0.515 + 0.518, 0.01);
}

}  // namespace
}  // namespace quillon
