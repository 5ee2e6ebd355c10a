#include "link/outcome.h"

#include <gtest/gtest.h>

#include "support/test_program.h"

namespace quillon::test {
namespace {

TEST(FailureReport, IsShownForTwoSecondsAlsoAfterCancelThenTurnsTheRowRed) {
  const std::tuple<int, const char*, const char*> kFailures[] = {
      {5, "Controller 5 : No Answer   (Speed : 9600 Bds) ", "No Answer red"},
      {0, "Controller 0 : Communication Error   (Speed : 9600 Bds) ", "Communication ERROR red"},
      {31, "Controller 31 : Communication Failure   (Speed : 9600 Bds) ", "communication Failure red"},
      {17, "Controller 17 : Erasing Failure   (Speed : 9600 Bds) ", "Erasing Failure red"}};
  int code = 0;
  for (const auto& [y, status, row] : kFailures) {
    TestProgram program;
    std::string during;
    program.computer.At(500ms, [&, y = y] {
      during = program.tool.message.Label1.Text() + "|" + program.Row(y);
      EXPECT_TRUE(program.tool.message.Stop.Visible());
      program.tool.message.Command1.Press();
    });
    ReportFailure(program.tool, y, static_cast<FailureCode>(++code));
    EXPECT_EQ(during, std::string(status) + "| ");
    EXPECT_EQ(program.computer.Time(), 2000ms);
    EXPECT_EQ(program.Row(y), row);
    EXPECT_FALSE(program.tool.message.Visible() || program.tool.info.Visible());
  }
}

TEST(FailureReport, OfNoFailureEmptiesTheRowButForItsBackground) {
  TestProgram program;
  for (const int y : {-1, 32})
    EXPECT_EQ(FailureNumber([&] { ReportFailure(program.tool, y, FailureCode::kNone); }), 9) << y;
  ReportFailure(program.tool, 5, FailureCode::kCommunicationError);
  EXPECT_TRUE(program.tool.info.Ver(5).FontBold() && program.tool.info.CkSum(5).FontBold());
  program.tool.info.CkSum(5).SetBackColor(colour::kRed);
  ReportFailure(program.tool, 5, FailureCode::kNone);
  EXPECT_EQ(program.Row(5), " ");
  EXPECT_FALSE(program.tool.info.Ver(5).FontBold() || program.tool.info.CkSum(5).FontBold());
  EXPECT_EQ(program.tool.info.CkSum(5).BackColor(), colour::kRed);
  EXPECT_TRUE(program.tool.message.Visible());
  EXPECT_EQ(program.computer.Time(), 2000ms);
}

TEST(Progress, ShowsTheSpeedUnlessBriefAndWaitsForNothing) {
  TestProgram program;
  program.tool.Vitesse.SetText("38400");
  program.tool.message.ShowPicture(program.tool.message.Jumelle);
  ShowProgress(program.tool, "Controller 7 : Erasing", StatusForm::kWithSpeed);
  EXPECT_EQ(program.tool.message.Label1.Text(), "Controller 7 : Erasing (Speed : 38400 Bds) ...");
  EXPECT_TRUE(program.tool.message.Inquiet.Visible() && !program.tool.message.Jumelle.Visible());
  ShowProgress(program.tool, "Controller 7 : Erasing", StatusForm::kBrief);
  EXPECT_EQ(program.tool.message.Label1.Text(), "Controller 7 : Erasing ...");
  EXPECT_EQ(program.computer.Time(), 0ms);
  program.tool.message.Command1.Press();
  EXPECT_FALSE(program.tool.message.Visible());
  ShowProgress(program.tool, "Controller 8 : Erasing", StatusForm::kBrief);
  EXPECT_TRUE(program.tool.message.Visible()) << "the next status line opens it again";
}

}  // namespace
}  // namespace quillon::test
