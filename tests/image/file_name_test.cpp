#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/bench.h"

namespace quillon::test {
namespace {

struct FileCase {
  const char* name;
  std::vector<std::string> lines;
  const char* checksum;
  const char* toolTip;
  bool keepsSpeed;
};
void PrintTo(const FileCase& c, std::ostream* out) { *out << c.name; }

class ChosenFile : public testing::TestWithParam<FileCase> {};

TEST_P(ChosenFile, ShowsWhatItIs) {
  Bench bench;
  auto during = Form::MousePointer::kDefault;
  bench.world.At(0s, [&] { during = bench.tool.Pointer(); });
  bench.ChooseHex(GetParam().lines);
  EXPECT_EQ(bench.tool.FileCheksum.Text(), GetParam().checksum);
  EXPECT_EQ(bench.tool.FileName.ToolTip(), GetParam().toolTip);
  EXPECT_EQ(bench.tool.useBB.Enabled(), GetParam().keepsSpeed);
  EXPECT_EQ(bench.tool.useBB.Ticked(), GetParam().keepsSpeed);
  EXPECT_TRUE(bench.tool.ComLoad.Enabled() && bench.tool.ComLoad00.Enabled());
  EXPECT_EQ(during, Form::MousePointer::kHourglass);
  EXPECT_EQ(bench.tool.Pointer(), Form::MousePointer::kDefault);
  EXPECT_TRUE(bench.world.boxes.empty());
}

std::vector<std::string> FullOfZerosBut(const std::string& lastLine) {
  std::vector<std::string> lines(224, ":FF");
  lines.push_back(lastLine);
  return lines;
}

// clang-format off
const FileCase kFileCases[] = {
    {"NoMetadata",      {":00000001FF"}, "1E02", "    []", false},
    {"Orva",            {":10201000AAAAAAAAAAF1F2AAE0E5AAD3D1AAAAAA00", ":042020001500400900"}, "1664",
                        "ORVA 12-05-31 Baud Rate Fix 9600  [40]", true},
    {"OtherProduct",    {":042020007000410500"}, "1ABC", "WORBY  Baud Rate Programmable  [41]", false},
    {"UnknownProduct",  {":042020001500400600"}, "1A61", "  Baud Rate Fix 9600  [40]", false},
    {"OneDigitIsNotPadded", FullOfZerosBut(":DE0000000F"), "F", "    []", false},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Files, ChosenFile, testing::ValuesIn(kFileCases), testing::PrintToStringParamName());

TEST(ChosenFile, WaitsForAProtocolToEnableTheDownloads) {
  Bench bench;
  bench.tool.Protocol.SetText("");
  bench.ChooseHex({":00000001FF"});
  EXPECT_FALSE(bench.tool.ComLoad.Enabled() || bench.tool.ComLoad00.Enabled());
}

TEST(ChosenFile, ForgetsTheFormerOneButForItsRate) {
  Bench bench;
  bench.ChooseHex({":042020002000400900"});
  bench.ChooseHex({":042020007000FF0600"}, "other.hex");
  EXPECT_EQ(bench.tool.FileName.ToolTip(), "  Baud Rate Programmable  [FF]");
  EXPECT_EQ(bench.tool.image.ImageBaudRate, "19200");
  EXPECT_FALSE(bench.tool.useBB.Enabled() || bench.tool.useBB.Ticked());
  bench.ChooseHex({":0100000000FF"}, "other.hex");
  EXPECT_EQ(bench.tool.FileName.ToolTip(), "  Baud Rate Programmable  [FF]")
      << "the same name starts nothing";
}

TEST(ChosenFile, EmptiedTakesTheDownloadsAway) {
  Bench bench;
  bench.ChooseHex({":042020001500400900"});
  bench.tool.FileName.SetText("");
  EXPECT_FALSE(bench.tool.ComLoad.Enabled() || bench.tool.ComLoad00.Enabled());
  EXPECT_EQ(bench.tool.FileCheksum.Text() + bench.tool.FileName.ToolTip(), "");
  EXPECT_FALSE(bench.tool.useBB.Ticked() || bench.tool.useBB.Visible());
}

TEST(ChosenFile, ThatCanNotBeHadLeavesTheButtonsOfAGoodOneBefore) {
  for (const std::string& name : {std::string("nowhere.hex"), std::string(300, 'a')}) {
    Bench bench;
    bench.ChooseHex({":042020001500400900"});
    bench.world.fileToChoose = bench.world.folder + name;
    bench.tool.Command1.Press();
    ASSERT_EQ(bench.world.boxes.size(), 1u);
    const ShownBox& box = bench.world.boxes[0];
    if (name == "nowhere.hex") {
      EXPECT_EQ(box, (ShownBox{"File not Found!", "Quillon"}));
    } else {
      EXPECT_THAT(box.text, testing::StartsWith("Error #  52\rBad file name"));
      EXPECT_THAT(box.text, testing::EndsWith("\rPlease, Check your HEX file !"));
      EXPECT_EQ(box.title, "Quillon Error");
    }
    EXPECT_EQ(bench.tool.FileCheksum.Text() + bench.tool.FileName.ToolTip(), "    []");
    EXPECT_FALSE(bench.tool.useBB.Enabled());
    EXPECT_TRUE(bench.tool.ComLoad.Enabled());
    EXPECT_EQ(bench.tool.Pointer(), Form::MousePointer::kDefault);
  }
}

}  // namespace
}  // namespace quillon::test
