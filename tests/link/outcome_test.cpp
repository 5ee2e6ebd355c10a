#include "link/outcome.h"

#include <gmock/gmock.h>

#include "support/bench.h"

namespace quillon::test {
namespace {

using testing::ElementsAre;

/// Which pictures of `Message` are visible.
std::string Pictures(const Quillon& tool) {
  std::string names;
  for (const Picture* picture : {&tool.message.Inquiet, &tool.message.Stop, &tool.message.Jumelle}) {
    if (picture->Visible()) names += picture->Name();
  }
  return names;
}

/// "red bold" or "black plain": the look of both boxes of a row.
std::string Look(const Quillon& tool, int y) {
  std::string looks;
  for (const TextBox* box : {&tool.info.Ver(y), &tool.info.CkSum(y)}) {
    looks += box->ForeColor() == 255 ? "red " : box->ForeColor() == 0 ? "black " : "? ";
    looks += box->FontBold() ? "bold " : "plain ";
  }
  return looks;
}

struct FailureCase {
  const char* name;
  int y;
  int code;
  const char* status;
  const char* version;
  const char* checksum;
};
void PrintTo(const FailureCase& row, std::ostream* out) { *out << row.name; }

class FailureReport : public testing::TestWithParam<FailureCase> {};

TEST_P(FailureReport, StandsTwoSecondsThenTurnsTheRowRed) {
  const FailureCase& row = GetParam();
  Bench bench;
  bench.tool.info.CkSum(row.y).SetBackColor(colour::kRed);
  std::string duringPause;
  bench.world.At(1990ms, [&] {
    duringPause = bench.tool.message.Label1.Text() + "|" + Pictures(bench.tool) + "|" + bench.Row(row.y);
  });

  bench.tool.ReportFailure(row.y, row.code);

  EXPECT_EQ(duringPause, std::string(row.status) + "|Stop| ");
  EXPECT_EQ(bench.world.Time(), 2000ms);
  EXPECT_EQ(bench.tool.info.Ver(row.y).Text(), row.version);
  EXPECT_EQ(bench.tool.info.CkSum(row.y).Text(), row.checksum);
  EXPECT_EQ(Look(bench.tool, row.y), "red bold red bold ");
  EXPECT_EQ(bench.tool.info.CkSum(row.y).BackColor(), colour::kRed);
  EXPECT_TRUE(bench.tool.message.Visible());
  EXPECT_FALSE(bench.tool.info.Visible());
}

const FailureCase kFailures[] = {
    // clang-format off
    {"NoAnswer",             5,  1, "Controller 5 : No Answer   (Speed : 9600 Bds) ",              "No",            "Answer"},
    {"CommunicationError",   0,  2, "Controller 0 : Communication Error   (Speed : 9600 Bds) ",    "Communication", "ERROR"},
    {"CommunicationFailure", 31, 3, "Controller 31 : Communication Failure   (Speed : 9600 Bds) ", "communication", "Failure"},
    {"ErasingFailure",       17, 4, "Controller 17 : Erasing Failure   (Speed : 9600 Bds) ",       "Erasing",       "Failure"},
    // clang-format on
};
INSTANTIATE_TEST_SUITE_P(Link, FailureReport, testing::ValuesIn(kFailures),
                         [](const auto& row) { return row.param.name; });

TEST(FailureReport, OfAnUnknownCodeChangesNothingAndOfAnUnknownRowRaises) {
  Bench bench;
  bench.tool.info.Ver(5).SetText("01/02/03");
  for (const int code : {-1, 5, 99}) bench.tool.ReportFailure(5, code);
  for (const int y : {-1, 32}) EXPECT_EQ(FailureNumber([&] { bench.tool.ReportFailure(y, 0); }), 9) << y;
  EXPECT_EQ(bench.Row(5), "01/02/03 ");
  EXPECT_FALSE(bench.tool.message.Visible());
  EXPECT_EQ(bench.world.Time(), 0ms);
}

TEST(FailureReport, OfCodeZeroEmptiesTheRowAndLeavesTheStatusLine) {
  Bench bench;
  bench.tool.ReportFailure(5, 2);
  bench.tool.info.CkSum(5).SetBackColor(colour::kRed);
  bench.tool.ReportFailure(5, 0);
  EXPECT_EQ(bench.Row(5), " ");
  EXPECT_EQ(Look(bench.tool, 5), "black plain black plain ");
  EXPECT_EQ(bench.tool.info.CkSum(5).BackColor(), colour::kRed);
  EXPECT_EQ(bench.tool.message.Label1.Text(), "Controller 5 : Communication Error   (Speed : 9600 Bds) ");
  EXPECT_EQ(bench.world.Time(), 2000ms);
}

TEST(FailureReport, KeepsItsPauseAndItsWordsWhenCancelledInIt) {
  Bench bench;
  bool visibleBehindCancel = true;
  bench.CancelAt(500ms);
  bench.world.At(510ms, [&] { visibleBehindCancel = bench.tool.message.Visible(); });
  bench.tool.ReportFailure(5, 1);
  EXPECT_FALSE(visibleBehindCancel);
  EXPECT_FALSE(bench.tool.message.Visible());
  EXPECT_TRUE(bench.tool.AbortRequested);
  EXPECT_EQ(bench.world.Time(), 2000ms);
  EXPECT_EQ(bench.Row(5), "No Answer red");
  bench.tool.ShowProgress("next", true);
  EXPECT_TRUE(bench.tool.message.Visible());
}

TEST(Progress, TellsTheSpeedUnlessBriefAndHoldsNobody) {
  Bench bench;
  bench.tool.Vitesse.SetText("38400");
  bench.tool.message.ShowPicture(bench.tool.message.Jumelle);
  bench.tool.ShowProgress("Controller 7 : Erasing", false);
  EXPECT_EQ(bench.tool.message.Label1.Text(), "Controller 7 : Erasing (Speed : 38400 Bds) ...");
  EXPECT_EQ(Pictures(bench.tool), "Inquiet");
  EXPECT_TRUE(bench.tool.message.Visible());
  bench.tool.ShowProgress("Controller 7 : Erasing", true);
  EXPECT_EQ(bench.tool.message.Label1.Text(), "Controller 7 : Erasing ...");
  EXPECT_EQ(bench.world.Time(), 0ms);
}

TEST(MarkController, TakesTheRedAndLeavesTheWords) {
  Bench bench;
  bench.tool.ReportFailure(5, 4);
  bench.tool.ReportFailure(6, 4);
  bench.tool.MarkController(5);
  EXPECT_EQ(bench.Row(5), "Erasing Failure");
  EXPECT_EQ(Look(bench.tool, 5), "black plain black plain ");
  EXPECT_EQ(bench.Row(6), "Erasing Failure red");
}

TEST(RunErrorBox, HoldsNumberAndDescriptionUnderItsTitle) {
  Bench bench;
  const auto fail = [] { throw RunError(RunError::kTypeMismatch, "Type mismatch: no number."); };
  EXPECT_FALSE(bench.tool.Try(fail));
  EXPECT_FALSE(bench.tool.Try(fail, {.title = "Other", .addition = "\rMore"}));
  EXPECT_TRUE(bench.tool.Try([] {}));
  EXPECT_THAT(bench.world.boxes,
              ElementsAre(ShownBox{"Error #  13\rType mismatch: no number.", "Quillon Error"},
                          ShownBox{"Error #  13\rType mismatch: no number.\rMore", "Other"}));
}

}  // namespace
}  // namespace quillon::test
