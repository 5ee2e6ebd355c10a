#include <gmock/gmock.h>

#include "shell/fresh_start.h"

namespace quillon::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string Lines(const std::vector<std::string>& lines, const char* end = "\r\n") {
  std::string text;
  for (const std::string& line : lines) text += line + end;
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

/// All settings in the order of the file, the values of the check boxes run together.
std::string Settings(const Quillon& tool) {
  return tool.Text1.Text() + "|" + tool.ComPort.Text() + "|" + tool.Vitesse.Text() + "|" + Boxes(tool) + "|" +
         tool.Text2.Text() + "|" + tool.Protocol.Text() + "|" + std::to_string(tool.ChkProto.Value()) +
         std::to_string(tool.RUD3.Value());
}

const std::string kAll(32, '1');
const std::string kMiddle(30, '0');
const std::string kEnds = "1" + kMiddle + "1";

struct ReadCase {
  const char* name;
  std::string file;
  std::string settings;
};
void PrintTo(const ReadCase& row, std::ostream* out) { *out << row.name; }

class SettingsRead : public testing::TestWithParam<ReadCase> {};

TEST_P(SettingsRead, GiveWhatTheFileCan) {
  FreshStart start;
  start.Write("Quillon.cfg", GetParam().file);
  EXPECT_EQ(Settings(start.Start()), GetParam().settings);
  EXPECT_TRUE(start.world.boxes.empty());
}

const ReadCase kFiles[] = {
    // clang-format off
    {"Whole",           Lines(Usual()),                 "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"LineFeeds",       Lines(Usual(), "\n"),           "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"LongerFile",      Lines(Usual()) + "2\r\n2\r\n", "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"Empty",           "",                             "|||" + kAll + "|||00"},
    {"ThreeLines",      "500\r\nCOM 7\r\n19200\r\n",    "500|COM 7|19200|" + kAll + "|19200|19200|00"},
    {"ThirdLineIsZero", "500\r\nCOM 7\r\n0",            "500|COM 7||" + std::string(32, '0') + "|0|0|00"},
    {"EndsInTheBoxes",  "500\r\nCOM 7\r\n4800\r\n 1 ",  "500|COM 7|4800|" + kAll + "| 1 | 1 |11"},
    {"PortUnknown",     Lines(Usual(2, "COM 120")),     "500||19200|" + kEnds + "|10|63|01"},
    {"SpeedUnknown",    Lines(Usual(3, "57600")),       "500|COM 7||" + kEnds + "|10|63|01"},
    {"BoxGreyed",       Lines(Usual(4, " 2 ")),         "500|COM 7|19200|2" + kMiddle + "1|10|63|01"},
    {"BoxPlainDigit",   Lines(Usual(4, "0")),           "500|COM 7|19200|0" + kMiddle + "1|10|63|01"},
    {"BoxOutOfRange",   Lines(Usual(35, " 3 ")),        "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"BoxNegative",     Lines(Usual(35, "-1")),         "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"BoxIsText",       Lines(Usual(35, "no")),         "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"BoxIsEmpty",      Lines(Usual(35, "")),           "500|COM 7|19200|" + kEnds + "|10|63|01"},
    {"AnyBytesInText",  Lines(Usual(36, " a \xE9")),    "500|COM 7|19200|" + kEnds + "| a \xE9|63|01"},
    {"EmptyProtocol",   Lines(Usual(37, "")),           "500|COM 7|19200|" + kEnds + "|10||01"},
    // clang-format on
};
INSTANTIATE_TEST_SUITE_P(Shell, SettingsRead, testing::ValuesIn(kFiles),
                         [](const auto& row) { return row.param.name; });

TEST(Settings, AreSavedByPlaceAndReadBackTheSame) {
  FreshStart start;
  start.Write("Quillon.cfg", "left over");
  Quillon& tool = start.Start();
  tool.Text1.SetText("750");
  tool.ComPort.SetText("COM 12");
  tool.NONE.Press();
  for (const int i : {0, 9, 31}) tool.C(i).SetValue(1);
  tool.C(4).SetValue(2);
  tool.Text2.SetText("25");
  tool.Protocol.SetText("0");
  tool.ChkProto.SetValue(1);
  tool.RUD3.SetValue(0);
  const std::string before = Settings(tool);
  tool.ComClose.Press();

  std::vector<std::string> expected{"750", "COM 12", ""};  // no speed was selected
  expected.insert(expected.end(), 32, " 0 ");
  for (const std::size_t i : {0, 9, 31}) expected[3 + i] = " 1 ";
  expected[3 + 4] = " 2 ";
  expected.insert(expected.end(), {"25", "0", " 1 ", " 0 "});
  EXPECT_EQ(start.Read("Quillon.cfg"), Lines(expected));
  EXPECT_EQ(Settings(start.Start()), before);
}

TEST(Settings, StayInTheFileWhenTheOperatorDoesNotWantThemSaved) {
  FreshStart start;
  start.Write("Quillon.cfg", "500\r\n");
  Quillon& tool = start.Start();
  tool.Text1.SetText("1");
  tool.Check1.SetValue(0);
  tool.ComClose.Press();
  EXPECT_EQ(start.Read("Quillon.cfg"), "500\r\n");
  EXPECT_TRUE(start.Start().Check1.Ticked());
}

TEST(Settings, ThatCannotBeSavedLeaveTheOldFileAndShowABoxBeforeTheEnd) {
  FreshStart start;
  start.Write("Quillon.cfg", "500\r\n");
  Quillon& tool = start.Start();
  start.MakeFolder("Quillon.cfg.new");
  bool endedBeforeTheBox = true;
  start.world.onBox = [&](const ShownBox&) { endedBeforeTheBox = start.world.ended; };
  tool.ComClose.Press();
  ASSERT_EQ(start.world.boxes.size(), 1u);
  EXPECT_THAT(start.world.boxes[0].text, AllOf(StartsWith("Error #  75\r"), HasSubstr("Quillon.cfg")));
  EXPECT_FALSE(endedBeforeTheBox);
  EXPECT_TRUE(start.world.ended);
  EXPECT_EQ(start.Read("Quillon.cfg"), "500\r\n");
}

TEST(Settings, ShowWhatBelongsToATickedBox) {
  FreshStart start;
  start.Write("Quillon.cfg", Lines(Usual(38, " 1 ")));
  const Quillon& tool = start.Start();
  EXPECT_TRUE(tool.ChkProto.Visible() && tool.Cmd3to4.Visible() && tool.Cmd4to3.Visible());
  EXPECT_TRUE(tool.Auto.Enabled() && tool.ComInfo.Enabled() && tool.ComBoot.Enabled());
}

}  // namespace
}  // namespace quillon::test
