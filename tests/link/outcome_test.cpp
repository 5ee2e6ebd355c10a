#include "link/outcome.h"

#include <gtest/gtest.h>

#include "support/bench.h"

namespace quillon::test {
namespace {

TEST(FailureReport, StandsTwoSecondsThenTurnsTheRowRed) {
  const struct {
    int y;
    const char* status;
    const char* row;
  } kCodes[] = {
      {5, "Controller 5 : No Answer   (Speed : 9600 Bds) ", "No Answer red"},
      {0, "Controller 0 : Communication Error   (Speed : 9600 Bds) ", "Communication ERROR red"},
      {31, "Controller 31 : Communication Failure   (Speed : 9600 Bds) ", "communication Failure red"},
      {17, "Controller 17 : Erasing Failure   (Speed : 9600 Bds) ", "Erasing Failure red"},
  };
  int code = 0;
  for (const auto& expected : kCodes) {
    Bench bench;
    std::string during;
    bench.world.At(1990ms, [&] {
      during = bench.tool.message.Label1.Text() + "|" + bench.Row(expected.y);
      EXPECT_TRUE(bench.tool.message.Stop.Visible());
    });
    ReportFailure(bench.tool, expected.y, static_cast<FailureCode>(++code));
    EXPECT_EQ(during, std::string(expected.status) + "| ");
    EXPECT_EQ(bench.world.Time(), 2000ms);
    EXPECT_EQ(bench.Row(expected.y), expected.row);
    EXPECT_TRUE(bench.tool.info.Ver(expected.y).FontBold() && bench.tool.info.CkSum(expected.y).FontBold());
    EXPECT_TRUE(bench.tool.message.Visible());
    EXPECT_FALSE(bench.tool.info.Visible());
  }
}

TEST(FailureReport, OfNoFailureEmptiesTheRowButForItsBackground) {
  Bench bench;
  for (const int y : {-1, 32}) {
    EXPECT_EQ(FailureNumber([&] { ReportFailure(bench.tool, y, FailureCode::kNone); }), 9) << y;
  }
  ReportFailure(bench.tool, 5, FailureCode::kCommunicationError);
  bench.tool.info.CkSum(5).SetBackColor(colour::kRed);
  ReportFailure(bench.tool, 5, FailureCode::kNone);
  EXPECT_EQ(bench.Row(5), " ");
  EXPECT_FALSE(bench.tool.info.Ver(5).FontBold() || bench.tool.info.CkSum(5).FontBold());
  EXPECT_EQ(bench.tool.info.CkSum(5).BackColor(), colour::kRed);
  EXPECT_TRUE(bench.tool.message.Visible());
  EXPECT_EQ(bench.world.Time(), 2000ms);
}

TEST(FailureReport, OfAnyOtherCodeChangesNothing) {
  Bench bench;
  ReportFailure(bench.tool, 5, FailureCode::kNoAnswer);
  for (const int code : {-1, 5, 1000}) {
    ReportFailure(bench.tool, 5, static_cast<FailureCode>(code));
  }
  EXPECT_EQ(bench.Row(5), "No Answer red");
  EXPECT_EQ(bench.world.Time(), 2000ms);
}

TEST(FailureReport, KeepsItsPauseAndItsWordsWhenCancelledInIt) {
  Bench bench;
  bench.CancelAt(500ms);
  ReportFailure(bench.tool, 5, FailureCode::kNoAnswer);
  EXPECT_FALSE(bench.tool.message.Visible());
  EXPECT_EQ(bench.world.Time(), 2000ms);
  EXPECT_EQ(bench.Row(5), "No Answer red");
}

TEST(Progress, TellsTheSpeedUnlessBriefAndHoldsNobody) {
  Bench bench;
  bench.tool.Vitesse.SetText("38400");
  bench.tool.message.ShowPicture(bench.tool.message.Jumelle);
  ShowProgress(bench.tool, "Controller 7 : Erasing", StatusForm::kWithSpeed);
  EXPECT_EQ(bench.tool.message.Label1.Text(), "Controller 7 : Erasing (Speed : 38400 Bds) ...");
  EXPECT_TRUE(bench.tool.message.Inquiet.Visible() && !bench.tool.message.Jumelle.Visible());
  ShowProgress(bench.tool, "Controller 7 : Erasing", StatusForm::kBrief);
  EXPECT_EQ(bench.tool.message.Label1.Text(), "Controller 7 : Erasing ...");
  EXPECT_EQ(bench.world.Time(), 0ms);
  bench.tool.message.Command1.Press();
  EXPECT_FALSE(bench.tool.message.Visible());
  ShowProgress(bench.tool, "Controller 8 : Erasing", StatusForm::kBrief);
  EXPECT_TRUE(bench.tool.message.Visible()) << "the next status line opens it again";
}

}  // namespace
}  // namespace quillon::test
