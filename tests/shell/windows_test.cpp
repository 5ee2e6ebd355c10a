#include <gtest/gtest.h>

#include "link/outcome.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

TEST(ProtocolNumber, IsOneMoreThanTheBoxSays) {
  TestProgram program;
  const std::pair<const char*, int> kTexts[] = {{"0", 1}, {"254", 255}, {"255", -6}, {"-1", -6}, {"", -13}};
  for (const auto& [text, number] : kTexts) {
    program.tool.Protocol.SetText(text);
    int outcome = 0;
    const int failure = FailureNumber([&] { outcome = program.tool.ProtocolNumber(); });
    EXPECT_EQ(outcome - failure, number) << text;
  }
}

TEST(MainWindow, TicksAllOrNoneAndShowsMoreControlsForProt3AndOnShiftF12) {
  TestProgram program;
  Quillon& tool = program.tool;
  for (auto* button : {&tool.ALL, &tool.NONE}) {
    button->Press();
    for (int i = 0; i < kControllers; ++i) EXPECT_EQ(tool.C(i).Ticked(), button == &tool.ALL) << i;
  }
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

TEST(Browse, NeverChoosesASecondFileInsideAFirstThatFails) {
  TestProgram program;
  const std::string good = program.Write("good.hex", ":00000001FF\r\n");
  program.computer.fileToChoose = kDevice;
  program.computer.When([&] { return !program.computer.boxes.empty(); },
                        [&] {
                          program.computer.fileToChoose = good;
                          program.tool.Command1.Press();
                        });
  program.tool.Command1.Press();
  EXPECT_EQ(program.BoxNumbers(), std::vector<int>{75});
  EXPECT_EQ(program.tool.FileName.Text(), good) << "the click came at the last yield of the first choice";
  EXPECT_EQ(program.tool.FileCheksum.Text(), "1E02");

  program.computer.fileToChoose = "";
  program.tool.Command1.Press();
  EXPECT_EQ(program.tool.FileName.Text(), good) << "the dialog was cancelled";
  EXPECT_EQ(program.computer.fileDialog, "Select a Hex file: Hexadecimal Files (*.hex)|*.hex");
}

TEST(MessageWindow, ShowsHowMuchIsSentWhenThatIsKnown) {
  TestProgram program;
  program.tool.message.ShowSent(3, 4);
  EXPECT_TRUE(program.tool.message.Sent.Visible());
  EXPECT_EQ(program.tool.message.Sent.Value(), 750);
  program.tool.message.ShowSent(3, 0);
  EXPECT_FALSE(program.tool.message.Sent.Visible());
}

TEST(Browse, ALateClickOnARunWaitsUntilTheFileIsRead) {
  TestProgram program;
  program.computer.At(0s, [&] { program.tool.ComInfo.Press(); });
  program.ChooseHex({":042020001500400900"});
  EXPECT_EQ(program.computer.beeps, 1);
  EXPECT_FALSE(program.tool.info.Visible());
  program.tool.ComInfo.Press();
  EXPECT_EQ(program.computer.beeps, 1);
  EXPECT_TRUE(program.tool.info.Visible());
}

TEST(Browse, InARunWarnsUntilTheNextOne) {
  TestProgram program;
  program.Tick({5});
  for (const bool inRun : {true, false}) {
    std::string closing;
    if (inRun)
      program.computer.When([&] { return program.tool.message.Visible(); },
                            [&] {
                              program.ChooseHex({":0100000005FA", ":00000001FF"});
                              closing = program.tool.info.ComClose.ToolTip();
                            });
    program.tool.ComInfo.Press();
    EXPECT_EQ(program.tool.FileWarning.Visible(), inRun);
    EXPECT_EQ(program.tool.FileWarning.ToolTip(),
              inRun ? "chosen during a run: start the download again" : "");
    EXPECT_EQ(closing.empty(), !inRun);
    EXPECT_EQ(program.tool.info.ComClose.ToolTip(), "");
  }
}

TEST(Windows, CloseAlikeByTheirButtonAndByTheDesktop) {
  TestProgram program;
  Quillon& tool = program.tool;
  for (const bool byButton : {true, false}) {
    tool.AbortRequested = false;
    ShowProgressPaused(tool, "Controller 5 : No Answer");
    byButton ? tool.message.Command1.Press() : tool.message.Close();
    EXPECT_TRUE(tool.AbortRequested);
    EXPECT_FALSE(tool.message.Visible());
    EXPECT_EQ(tool.message.Label1.Text(), "");

    tool.info.Show();
    tool.info.SetCaption("Boot Info");
    tool.info.Ver(31).SetText("01/02/03");
    tool.info.CkSum(31).SetText("Answer");
    tool.info.CkSum(31).SetBackColor(colour::kRed);
    EXPECT_EQ(tool.info.CopyText(), "31\t01/02/03\tAnswer\n");
    byButton ? tool.info.ComClose.Press() : tool.info.Close();
    EXPECT_FALSE(tool.info.Visible());
    EXPECT_EQ(tool.info.Caption(), "Flash Info");
    EXPECT_EQ(program.Row(31), " ");
    EXPECT_EQ(tool.info.CopyText(), "");
    ReportFailure(tool, 31, FailureCode::kNoAnswer);
    EXPECT_FALSE(tool.info.Visible()) << "writing to a row does not open it again";
    EXPECT_EQ(tool.info.CkSum(31).BackColor(), colour::kWhite);
  }
}

}  // namespace
}  // namespace quillon::test
