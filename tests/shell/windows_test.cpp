#include <gtest/gtest.h>

#include "link/outcome.h"
#include "support/bench.h"

namespace quillon::test {
namespace {

TEST(Buttons, AreEnabledByProtocolAndFile) {
  Bench bench;
  Quillon& tool = bench.tool;
  for (const char* protocol : {"", "63", "x"}) {
    for (const char* checksum : {"", "1E02"}) {
      tool.FileCheksum.SetText(checksum);
      for (const char* typed : {"", "6", protocol}) tool.Protocol.SetText(typed);
      const bool others = *protocol;
      const bool downloads = *protocol && *checksum;
      for (const auto* button : {&tool.ComLoad, &tool.ComLoad00}) EXPECT_EQ(button->Enabled(), downloads);
      for (const auto* button : {&tool.Auto, &tool.ComInfo, &tool.ComBoot})
        EXPECT_EQ(button->Enabled(), others);
    }
  }
}

TEST(Buttons, AllAndNoneTickTheThirtyTwo) {
  Bench bench;
  for (const bool all : {true, false}) {
    (all ? bench.tool.ALL : bench.tool.NONE).Press();
    for (int i = 0; i < 32; ++i) EXPECT_EQ(bench.tool.C(i).Ticked(), all) << i;
  }
  EXPECT_TRUE(bench.world.boxes.empty());
}

TEST(PortList, TellsTheDeviceOfEachPort) {
  Bench bench;
  EXPECT_EQ(bench.tool.ComPort.ItemNote(0).toolTip, "device 1");
  EXPECT_EQ(bench.tool.ComPort.ItemNote(98).toolTip, "device 99");
}

TEST(ProtocolNumber, IsOneMoreThanTheBoxSays) {
  Bench bench;
  const std::pair<const char*, int> kTexts[] = {{"0", 1}, {"254", 255}, {"255", -6}, {"-1", -6}, {"", -13}};
  for (const auto& [text, number] : kTexts) {
    bench.tool.Protocol.SetText(text);
    int outcome = 0;
    const int failure = FailureNumber([&] { outcome = bench.tool.ProtocolNumber(); });
    EXPECT_EQ(outcome - failure, number) << text;
  }
}

TEST(MainWindow, ShowsTheProtocolSwitchWhileProt3IsTickedAndTheHiddenBoxOnShiftF12) {
  Bench bench;
  Quillon& tool = bench.tool;
  for (const int value : {1, 0, 1, 2}) {
    tool.RUD3.SetValue(value);
    for (const auto* button : {&tool.Cmd3to4, &tool.Cmd4to3}) EXPECT_EQ(button->Visible(), value == 1);
  }
  tool.ReleaseKey(Form::Key::kF12, false);
  tool.ReleaseKey(Form::Key::kOther, true);
  EXPECT_FALSE(tool.ChkProto.Visible());
  tool.ReleaseKey(Form::Key::kF12, true);
  EXPECT_TRUE(tool.ChkProto.Visible());
}

TEST(Browse, TakesTheChosenFileAndKeepsTheLastWhenCancelled) {
  Bench bench;
  bench.ChooseHex({":00000001FF"});
  bench.world.fileToChoose = "";
  bench.tool.Command1.Press();
  EXPECT_EQ(bench.tool.FileName.Text(), bench.world.folder + "image.hex");
  EXPECT_EQ(bench.world.fileDialog, "Select a Hex file: Hexadecimal Files (*.hex)|*.hex");
}

TEST(Browse, NeverChoosesASecondFileInsideAFirstThatFails) {
  Bench bench;
  const std::string good = bench.Write("good.hex", ":00000001FF\r\n");
  bench.world.fileToChoose = kDevice;
  bench.world.When([&] { return !bench.world.boxes.empty(); },
                   [&] {
                     bench.world.fileToChoose = good;
                     bench.tool.Command1.Press();
                   });
  bench.tool.Command1.Press();
  EXPECT_EQ(bench.BoxNumbers(), std::vector<int>{75});
  EXPECT_EQ(bench.tool.FileName.Text(), good)
      << "the click came when the first choice was over but for a yield";
  EXPECT_EQ(bench.tool.FileCheksum.Text(), "1E02");
}

TEST(Browse, ALateClickOnARunWaitsUntilTheFileIsRead) {
  Bench bench;
  bench.world.At(0s, [&] { bench.tool.ComInfo.Press(); });
  bench.ChooseHex({":042020001500400900"});
  EXPECT_EQ(bench.world.beeps, 1);
  EXPECT_FALSE(bench.tool.info.Visible());
  bench.tool.ComInfo.Press();
  EXPECT_EQ(bench.world.beeps, 1);
  EXPECT_TRUE(bench.tool.info.Visible());
}

TEST(Browse, InARunWarnsUntilTheNextOne) {
  Bench bench;
  bench.Tick({5});
  for (const bool inRun : {true, false}) {
    std::string closing;
    if (inRun)
      bench.world.When([&] { return bench.tool.message.Visible(); },
                       [&] {
                         bench.ChooseHex({":0100000005FA", ":00000001FF"});
                         closing = bench.tool.info.ComClose.ToolTip();
                       });
    bench.tool.ComInfo.Press();
    EXPECT_EQ(bench.tool.FileWarning.Visible(), inRun);
    EXPECT_EQ(bench.tool.FileWarning.ToolTip(), inRun ? "chosen during a run: start the download again" : "");
    EXPECT_EQ(closing.empty(), !inRun);
    EXPECT_EQ(bench.tool.info.ComClose.ToolTip(), "");
  }
}

TEST(InfoWindow, GivesItsFilledRowsAsLines) {
  Bench bench;
  EXPECT_EQ(bench.tool.info.CopyText(), "");
  bench.tool.info.Ver(3).SetText("01/02/03");
  bench.tool.info.CkSum(3).SetText("1E02");
  bench.tool.info.CkSum(31).SetText("Answer");
  EXPECT_EQ(bench.tool.info.CopyText(), "3\t01/02/03\t1E02\n31\t\tAnswer\n");
}

TEST(MessageWindow, ShowsHowMuchIsSentWhenThatIsKnown) {
  Bench bench;
  bench.tool.message.ShowSent(3, 4);
  EXPECT_TRUE(bench.tool.message.Sent.Visible());
  EXPECT_EQ(bench.tool.message.Sent.Value(), 750);
  bench.tool.message.ShowSent(3, 0);
  EXPECT_FALSE(bench.tool.message.Sent.Visible());
}

TEST(MessageWindow, TakesAnyWayOfClosingItAsCancel) {
  Bench bench;
  for (const bool byButton : {true, false}) {
    bench.tool.AbortRequested = false;
    ShowProgressPaused(bench.tool, "Controller 5 : No Answer");
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
    bench.tool.info.Ver(31).SetText("01/02/03");
    bench.tool.info.CkSum(31).SetBackColor(colour::kRed);
    byButton ? bench.tool.info.ComClose.Press() : bench.tool.info.Close();
    EXPECT_FALSE(bench.tool.info.Visible());
    EXPECT_EQ(bench.tool.info.Caption(), "Flash Info");
    EXPECT_EQ(bench.Row(31), " ");
    ReportFailure(bench.tool, 31, FailureCode::kNoAnswer);
    EXPECT_FALSE(bench.tool.info.Visible()) << "writing to a row does not open it again";
    EXPECT_EQ(bench.tool.info.CkSum(31).BackColor(), colour::kWhite);
  }
}

}  // namespace
}  // namespace quillon::test
