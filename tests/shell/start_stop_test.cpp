#include <gmock/gmock.h>

#include "shell/fresh_start.h"
#include "support/bench.h"

namespace quillon::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Start, WithoutSettingsHasNothingSelectedAndAllTicked) {
  FreshStart start;
  start.Write("Log.txt", "of yesterday");
  const Quillon& tool = start.Start();
  EXPECT_TRUE(tool.Visible());
  EXPECT_EQ(tool.Caption(), " Quillon version 1.10.0");
  EXPECT_EQ(tool.DownloadSettings, "9600,N,8,2");
  EXPECT_EQ(tool.Text1.Text() + tool.Text2.Text() + tool.Protocol.Text() + tool.ComPort.Text() +
                tool.Vitesse.Text(),
            "");
  EXPECT_EQ(Boxes(tool), std::string(32, '1'));
  for (const CommandButton* button :
       {&tool.ComLoad, &tool.ComLoad00, &tool.ComInfo, &tool.ComBoot, &tool.Auto}) {
    EXPECT_FALSE(button->Enabled()) << button->Name();
  }
  EXPECT_TRUE(tool.Check1.Ticked());
  EXPECT_FALSE(tool.Cmd3to4.Visible() || tool.Cmd4to3.Visible() || tool.ChkProto.Visible());
  EXPECT_FALSE(tool.info.Visible() || tool.message.Visible());
  ASSERT_EQ(tool.ComPort.Items().size(), 99u);
  EXPECT_EQ(tool.ComPort.Items().front() + tool.ComPort.Items().back(), "COM 1COM 99");
  EXPECT_EQ(tool.Vitesse.Items(), (std::vector<std::string>{"4800", "9600", "19200", "38400"}));
  EXPECT_FALSE(start.world.open);
  EXPECT_TRUE(start.world.boxes.empty());
  EXPECT_EQ(start.Read("Log.txt"), "");
}

TEST(BootIni, GivesTheSpeedOfDownloadsByItsFirstLine) {
  struct {
    const char* file;
    const char* contents;
    const char* settings;
  } const kCases[] = {
      {"Boot.ini", "19200\r\n", "19200,N,8,2"}, {"Boot.ini", "38400\n4800\n", "38400,N,8,2"},
      {"Boot.ini", "fast ", "fast ,N,8,2"},     {"boot.ini", "4800", "4800,N,8,2"},
      {"BOOT.INI", "4800", "4800,N,8,2"},       {"Boot.ini", "", "9600,N,8,2"},
      {"Boot.ini.txt", "4800", "9600,N,8,2"},
  };
  for (const auto& row : kCases) {
    FreshStart start;
    start.Write(row.file, row.contents);
    EXPECT_EQ(start.Start().DownloadSettings, row.settings) << row.file << ": " << row.contents;
  }
  FreshStart start;
  start.MakeFolder("Boot.ini");  // can't be read
  EXPECT_EQ(start.Start().DownloadSettings, "9600,N,8,2");
  EXPECT_TRUE(start.world.boxes.empty());
}

TEST(Log, ThatCannotBeCreatedShowsOneBoxAndTheToolWorksWithout) {
  FreshStart start;
  start.MakeFolder("Log.txt");
  Quillon& tool = start.Start();
  tool.Log("lost");
  EXPECT_TRUE(tool.Visible());
  tool.ComClose.Press();
  ASSERT_EQ(start.world.boxes.size(), 1u);
  EXPECT_THAT(start.world.boxes[0].text, AllOf(StartsWith("Error #  75\r"), HasSubstr("Log.txt")));
  EXPECT_TRUE(start.world.ended);
}

TEST(Stop, CompletesTheLogSavesSettingsAndClosesThePortOnce) {
  Bench bench;
  bench.tool.Log("of today");
  EXPECT_EQ(bench.Read("Log.txt"), "");
  bench.tool.Show();
  bench.tool.MSComm1.SetPortOpen(true);
  bench.tool.info.Show();
  bench.tool.Close();
  EXPECT_TRUE(bench.world.ended);
  EXPECT_FALSE(bench.world.open);
  EXPECT_FALSE(bench.tool.Visible() || bench.tool.info.Visible());
  EXPECT_THAT(bench.Read("Quillon.cfg"), StartsWith("500\r\nCOM 1\r\n9600\r\n"));
  EXPECT_EQ(bench.Read("Log.txt"), "of today\r\n");
  std::filesystem::remove(bench.world.folder + "Quillon.cfg");
  bench.tool.Close();
  EXPECT_EQ(bench.Read("Quillon.cfg"), "");
}

// The controller is silent: three sends take 3 s, the failure is shown for 2 s, then the next speed is tried.
TEST(Stop, InARunUnwindsItAndSavesWhatTheControlsHold) {
  struct {
    Nanoseconds at;
    std::size_t framesSent;
    const char* saved;
  } const kMoments[] = {{100ms, 1, "500\r\nCOM 1\r\n9600\r\n"},
                        {2800ms, 3, "500\r\nCOM 1\r\n9600\r\n"},
                        {4000ms, 3, "500\r\nCOM 1\r\n9600\r\n"},
                        {5200ms, 4, "500\r\nCOM 1\r\n4800\r\n"}};
  for (const auto& moment : kMoments) {
    SCOPED_TRACE(moment.at / 1ms);
    Bench bench;
    bench.tool.Show();
    bench.Tick({5});
    bench.world.At(moment.at, [&] { bench.tool.ComClose.Press(); });
    bench.tool.ComInfo.Press();
    EXPECT_TRUE(bench.world.ended);
    EXPECT_LE(bench.world.Time(), moment.at + 501ms);
    EXPECT_EQ(bench.Sent().size(), moment.framesSent);
    EXPECT_FALSE(bench.world.open);
    EXPECT_FALSE(bench.tool.Visible() || bench.tool.info.Visible() || bench.tool.message.Visible());
    EXPECT_THAT(bench.Read("Quillon.cfg"), StartsWith(moment.saved));
    EXPECT_THAT(bench.Read("Log.txt"), StartsWith("Message : $73"));
  }
}

TEST(Stop, BehindAClickInARunThatOnlyBeeped) {
  Bench bench;
  bench.Tick({5});
  bench.world.At(100ms, [&] { bench.tool.ComBoot.Press(); });
  bench.world.At(200ms, [&] { bench.tool.Close(); });
  bench.tool.ComInfo.Press();
  EXPECT_EQ(bench.world.beeps, 1);
  EXPECT_EQ(bench.tool.CurrentController, 5);
  EXPECT_EQ(bench.world.openedPorts.size(), 1u);
  EXPECT_EQ(bench.Sent().size(), 1u);
  EXPECT_TRUE(bench.world.ended);
}

}  // namespace
}  // namespace quillon::test
