#include <gmock/gmock.h>

#include "shell/fresh_start.h"
#include "support/bench.h"

namespace quillon::test {
namespace {

TEST(Buttons, AreEnabledByProtocolAndFile) {
  struct {
    const char* protocol;
    const char* fileChecksum;
    bool downloads;
    bool others;
  } const kCases[] = {{"", "", false, false},
                      {"", "1E02", false, false},
                      {"63", "", false, true},
                      {"63", "1E02", true, true},
                      {"x", "1E02", true, true}};
  FreshStart start;
  Quillon& tool = start.Start();
  for (const auto& row : kCases) {
    SCOPED_TRACE(std::string(row.protocol) + " and " + row.fileChecksum);
    tool.FileCheksum.SetText(row.fileChecksum);
    for (const char* typed : {"", "6", row.protocol}) tool.Protocol.SetText(typed);
    for (const auto* button : {&tool.ComLoad, &tool.ComLoad00}) EXPECT_EQ(button->Enabled(), row.downloads);
    for (const auto* button : {&tool.Auto, &tool.ComInfo, &tool.ComBoot})
      EXPECT_EQ(button->Enabled(), row.others);
  }
}

TEST(ProtocolNumber, IsOneMoreThanTheBoxSays) {
  Bench bench;
  for (const auto& [text, number] : {std::pair("0", 1), {"63", 0x40}, {"254", 255}, {" 7 ", 8}}) {
    bench.tool.Protocol.SetText(text);
    EXPECT_EQ(bench.tool.ProtocolNumber(), number) << text;
  }
  for (const auto& [text, failure] : {std::pair("255", 6), {"-1", 6}, {"", 13}, {"x", 13}}) {
    bench.tool.Protocol.SetText(text);
    EXPECT_EQ(FailureNumber([&] { bench.tool.ProtocolNumber(); }), failure) << text;
  }
}

TEST(MainWindow, ShowsTheProtocolSwitchWhileProt3IsTicked) {
  FreshStart start;
  Quillon& tool = start.Start();
  for (const int value : {1, 0, 1, 2}) {
    tool.RUD3.SetValue(value);
    EXPECT_EQ(tool.Cmd3to4.Visible(), value == 1) << value;
    EXPECT_EQ(tool.Cmd4to3.Visible(), value == 1) << value;
  }
}

TEST(MainWindow, ShowsTheHiddenBoxOnShiftF12Alone) {
  FreshStart start;
  Quillon& tool = start.Start();
  tool.ReleaseKey(Form::Key::kF12, false);
  tool.ReleaseKey(Form::Key::kOther, true);
  EXPECT_FALSE(tool.ChkProto.Visible());
  tool.ReleaseKey(Form::Key::kF12, true);
  EXPECT_TRUE(tool.ChkProto.Visible());
}

TEST(Browse, TakesTheChosenFileAndKeepsTheLastWhenCancelled) {
  Bench bench;
  bench.ChooseHex({":00000001FF"});
  const std::string chosen = bench.world.folder + "image.hex";
  EXPECT_EQ(bench.tool.FileName.Text(), chosen);
  EXPECT_TRUE(bench.tool.ComLoad.Enabled());
  bench.world.fileToChoose = "";
  bench.tool.Command1.Press();
  EXPECT_EQ(bench.tool.FileName.Text(), chosen);
}

TEST(MessageWindow, TakesAnyWayOfClosingItAsCancel) {
  Bench bench;
  for (const bool byButton : {true, false}) {
    bench.tool.AbortRequested = false;
    bench.tool.ShowProgressPaused("Controller 5 : No Answer");
    byButton ? bench.tool.message.Command1.Press() : bench.tool.message.Close();
    EXPECT_TRUE(bench.tool.AbortRequested);
    EXPECT_FALSE(bench.tool.message.Visible());
    EXPECT_EQ(bench.tool.message.Label1.Text(), "");
  }
}

TEST(InfoWindow, ClosedLosesItsContents) {
  Bench bench;
  for (const bool byButton : {true, false}) {
    bench.tool.info.Show();
    bench.tool.info.SetCaption("Boot Info");
    bench.tool.info.Label41.SetVisible(false);
    bench.tool.info.Ver(31).SetText("01/02/03");
    bench.tool.info.CkSum(31).SetBackColor(colour::kRed);
    byButton ? bench.tool.info.ComClose.Press() : bench.tool.info.Close();
    EXPECT_FALSE(bench.tool.info.Visible());
    EXPECT_EQ(bench.tool.info.Caption(), "Flash Info");
    EXPECT_TRUE(bench.tool.info.Label41.Visible());
    EXPECT_EQ(bench.Row(31), " ");
    bench.tool.ReportFailure(31, 1);
    EXPECT_FALSE(bench.tool.info.Visible()) << "writing to a row does not open it again";
    EXPECT_EQ(bench.tool.info.CkSum(31).BackColor(), colour::kWhite);
  }
}

}  // namespace
}  // namespace quillon::test
