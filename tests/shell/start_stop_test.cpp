// Start-up, the settings between one start and the next, and stop.
#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

#include "link/log.h"
#include "shell/start_stop.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

/// A computer on which the program is started when a test has prepared its folder.
class FreshStart : public FakeComputer {
 public:
  void MakeFolder(const std::string& name) { std::filesystem::create_directory(folder + name); }

  /// Starts the program; one that was started before is gone.
  Quillon& Start() {
    tool_ = std::make_unique<Quillon>(AsComputer());
    quillon::Start(*tool_);
    return *tool_;
  }

 private:
  std::unique_ptr<Quillon> tool_;
};

TEST(Start, ShowsTheMainWindowAloneAndBeginsANewLog) {
  FreshStart start;
  start.WriteFile("Log.txt", "of yesterday");
  const Quillon& tool = start.Start();
  EXPECT_TRUE(tool.Visible());
  EXPECT_EQ(tool.Caption(), " Quillon version 1.10.0");
  EXPECT_EQ(tool.DownloadSettings, "9600,N,8,2");
  EXPECT_FALSE(tool.ComLoad.Enabled() || tool.ComLoad00.Enabled() || tool.Auto.Enabled());
  EXPECT_FALSE(tool.ComInfo.Enabled() || tool.ComBoot.Enabled());
  EXPECT_FALSE(tool.info.Visible() || tool.message.Visible());
  EXPECT_EQ(tool.ComPort.Items().size(), 99u);
  EXPECT_EQ(tool.ComPort.Items().back(), "COM 99");
  EXPECT_EQ(tool.Vitesse.Items(), (std::vector<std::string>{"4800", "9600", "19200", "38400"}));
  EXPECT_EQ(start.ReadFile("Log.txt"), "");
}

TEST(BootIni, GivesTheSpeedOfDownloadsByItsFirstLine) {
  const std::tuple<const char*, const char*, const char*> kCases[] = {
      {"Boot.ini", "19200\r\n", "19200,N,8,2"}, {"Boot.ini", "38400\n4800\n", "38400,N,8,2"},
      {"Boot.ini", "fast ", "fast ,N,8,2"},     {"BOOT.INI", "4800", "4800,N,8,2"},
      {"Boot.ini", "", "9600,N,8,2"},
  };
  for (const auto& [file, contents, settings] : kCases) {
    FreshStart start;
    start.WriteFile("BOOT.INI", "1200");  // not read beside the exact name
    start.WriteFile(file, contents);
    EXPECT_EQ(start.Start().DownloadSettings, settings) << contents;
  }
  FreshStart start;
  start.MakeFolder("Boot.ini");  // can't be read
  EXPECT_EQ(start.Start().DownloadSettings, "9600,N,8,2");
  EXPECT_TRUE(start.boxes.empty());
}

TEST(Log, ThatCannotBeCreatedShowsOneBoxAndTheToolWorksWithout) {
  FreshStart start;
  start.MakeFolder("Log.txt");
  start.onBox = [&](const ShownBox&) { start.WriteFile("Quillon.cfg", "777\r\n"); };
  Quillon& tool = start.Start();
  EXPECT_EQ(tool.Text1.Text(), "777") << "the settings are read after the log was opened";
  Log(tool, "lost");
  tool.ComClose.Press();
  ASSERT_EQ(start.boxes.size(), 1u);
  EXPECT_THAT(start.boxes[0].text, testing::MatchesRegex("Error #  75\r.*Log.txt.*"));
  EXPECT_TRUE(start.ended);
}

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

/// 39 lines with controllers 0 and 31 alone ticked; one of them may be another.
std::vector<std::string> Usual(std::size_t otherLine = 0, const std::string& text = "") {
  std::vector<std::string> lines{"500", "COM 7", "19200"};
  lines.insert(lines.end(), 32, " 0 ");
  lines[3] = lines[34] = " 1 ";
  lines.insert(lines.end(), {"10", "63", " 0 ", " 1 "});
  if (otherLine > 0) lines[otherLine - 1] = text;
  return lines;
}

TEST(Settings, AreReadAsFarAsTheFileHasThem) {
  const std::string kAll(32, '1');
  const std::string kMiddle(30, '0');
  const std::string kEnds = "1" + kMiddle + "1";
  const std::pair<std::string, std::string> kFiles[] = {
      {Lines(Usual()), "500|COM 7|19200|" + kEnds + "|10|63|01"},
      {"", "|||" + kAll + "|||00"},
      {"500\r\nCOM 7\r\n19200\r\n", "500|COM 7|19200|" + kAll + "|19200|19200|00"},
      {"500\r\nCOM 7\r\n4800\r\n 1 ", "500|COM 7|4800|" + kAll + "| 1 | 1 |11"},
      {Lines(Usual(2, "COM 120")), "500||19200|" + kEnds + "|10|63|01"},
      {Lines(Usual(4, " 2 ")), "500|COM 7|19200|2" + kMiddle + "1|10|63|01"},
      {Lines(Usual(35, " 3 ")), "500|COM 7|19200|" + kEnds + "|10|63|01"},
      {Lines(Usual(36, " a \xE9")), "500|COM 7|19200|" + kEnds + "| a \xE9|63|01"},
  };
  for (const auto& [file, settings] : kFiles) {
    FreshStart start;
    start.WriteFile("Quillon.cfg", file);
    const Quillon& tool = start.Start();
    EXPECT_EQ(TestProgram::Settings(tool), settings);
    EXPECT_TRUE(start.boxes.empty());
    EXPECT_EQ(tool.ChkProto.Visible(), tool.ChkProto.Ticked());
    EXPECT_EQ(tool.Cmd3to4.Visible(), tool.RUD3.Ticked());
  }
}

TEST(Settings, AreSavedByPlaceWhenTheOperatorWantsIt) {
  for (const bool save : {true, false}) {
    FreshStart start;
    start.WriteFile("Quillon.cfg", Lines(Usual(5, " 2 ")));
    Quillon& tool = start.Start();
    EXPECT_TRUE(tool.Check1.Ticked());
    tool.Vitesse.Reset();
    tool.C(1).SetValue(0);
    tool.Check1.SetValue(save);
    tool.ComClose.Press();
    EXPECT_EQ(start.ReadFile("Quillon.cfg"), Lines(save ? Usual(3, "") : Usual(5, " 2 ")));
  }
}

TEST(Settings, KeepTheirPlacesWhateverIsPastedAndTheNameOfTheirFile) {
  FreshStart start;
  start.WriteFile("QUILLON.CFG", Lines(Usual()));
  Quillon& tool = start.Start();
  tool.Text1.SetText("3000\n");
  tool.Text2.SetText("30\r\n00");
  tool.Protocol.SetText("\r63");
  tool.ComClose.Press();
  std::vector<std::string> lines = Usual();
  lines[0] = "3000";
  lines[35] = "30";
  lines[36] = "";
  EXPECT_EQ(start.ReadFile("QUILLON.CFG"), Lines(lines));
  for (const auto& entry : std::filesystem::directory_iterator(start.folder))
    EXPECT_NE(entry.path().filename(), "Quillon.cfg");
}

TEST(Settings, ThatCannotBeSavedShowABoxBeforeTheEnd) {
  FreshStart start;
  Quillon& tool = start.Start();
  start.MakeFolder("Quillon.cfg");
  Log(tool, "of today");
  start.onBox = [&](const ShownBox&) {
    EXPECT_FALSE(start.ended);
    EXPECT_EQ(start.ReadFile("Log.txt"), "of today\r\n") << "the log is closed first";
  };
  tool.ComClose.Press();
  ASSERT_EQ(start.boxes.size(), 1u);
  EXPECT_THAT(start.boxes[0].text, testing::MatchesRegex("Error #  75\r.*Quillon.cfg.*"));
  EXPECT_TRUE(start.ended);
}

TEST(Stop, CompletesTheLogAndClosesThePortOnce) {
  TestProgram program;
  program.tool.info.Show();
  Log(program.tool, "of today");
  program.tool.MSComm1.SetPortOpen(true);
  program.tool.Close();
  EXPECT_TRUE(program.computer.ended);
  EXPECT_FALSE(program.computer.open);
  EXPECT_FALSE(program.tool.Visible() || program.tool.info.Visible());
  EXPECT_EQ(program.Read("Log.txt"), "of today\r\n");
  std::filesystem::remove(program.computer.folder + "Quillon.cfg");
  program.tool.Close();
  EXPECT_EQ(program.Read("Quillon.cfg"), "") << "it ended twice";
}

TEST(Stop, EndsTheProgramWhereItsFolderIsGone) {
  FreshStart start;
  Quillon& tool = start.Start();
  std::error_code kept;
  std::filesystem::remove_all(start.folder, kept);
  if (kept) GTEST_SKIP() << "on this system the open log keeps its folder";
  tool.ComClose.Press();
  ASSERT_EQ(start.boxes.size(), 1u);
  EXPECT_THAT(start.boxes[0].text, testing::StartsWith("Error #  53\rFile not found"));
  EXPECT_TRUE(start.ended);
}

// The controller is silent: three sends take 3 s, the failure is shown for 2 s.
TEST(Stop, WhileARunShowsAFailureWaitsForNothing) {
  TestProgram program;
  program.Tick({5});
  program.computer.At(4s, [&] { program.tool.ComClose.Press(); });
  program.tool.ComInfo.Press();
  EXPECT_TRUE(program.computer.ended);
  EXPECT_LE(program.computer.Time(), 4001ms);
  EXPECT_EQ(program.Sent().size(), 3u);
  EXPECT_FALSE(program.tool.info.Visible() || program.tool.message.Visible());
}

}  // namespace
}  // namespace quillon::test
