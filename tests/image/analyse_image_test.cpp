// What a HEX file says about itself, and what the main window shows of it.
#include "image/analyse_image.h"

#include <gmock/gmock.h>

#include "support/test_program.h"

namespace quillon::test {
namespace {

std::string Repeated(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

struct FileCase {
  const char* name;
  std::string file;
  const char* checksum;
  std::string facts = "    ";  // product, protocol, rate, version and text of the rate rule, a blank between
};
void PrintTo(const FileCase& c, std::ostream* out) { *out << c.name; }

class Analysis : public testing::TestWithParam<FileCase> {};

TEST_P(Analysis, SumsTheFlashAndReadsTheMetadata) {
  ImageFacts facts;
  EXPECT_EQ(ChecksumText(AnalyseImage(LineReader(GetParam().file), facts)), GetParam().checksum);
  EXPECT_EQ(facts.ImageProduct + " " + facts.ImageProtocol + " " + facts.ImageBaudRate + " " +
                facts.ImageVersion + " " + facts.ImageBaudText,
            GetParam().facts);
}

const std::string k007B = ":10007B00AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA1200\r\n";
const std::string k2020 = ":042020001500400900\r\n";

// clang-format off
const FileCase kFileCases[] = {
    {"EmptyFile",                       "", "DF1E02"},
    {"FirstSegmentInTheMiddle",         ":0100000005FA\r\n:020000040000FA\r\n:0100010005F9\r\n", "DF1C0E"},
    {"TwoHundredBytesOfTen",            ":C8000000" + Repeated(200, "0A") + "00\r\n", "DE5E9A"},
    {"ContinuesAfterTheEndRecordAndBlankLines", ":00000001FF\r\n\r\n\r\n:0100000005FA\r\n", "DF1D08"},
    {"SameAddressCountsTwice",          ":0100000005FA\r\n:0100000005FA\r\n", "DF1C0E"},
    {"WrongColonTypeAndCheckByte",      "?01000099057F\r\n", "DF1D08"},
    {"LowerCaseDigits",                 ":01000000fb04\r\n", "DF1DFE"},
    {"LengthWithoutData",               ":FF\r\n", "DE2001"},
    {"DataEndsEarly",                   ":0300000001\r\n", "DF1B06"},
    {"BelowZeroShowsItsLow32Bits",      Repeated(225, ":FF\r\n"), "FFFFDF21"},
    {"AllAt2020",                       k2020, "DF1A64", "ORVA 40 9600  Baud Rate Fix 9600"},
    {"VersionOver007BAnd008B",          k007B + ":06008B0005311541050100\r\n", "DF12B2",
                                        "WORBY 41 9600 12-05-31 Baud Rate Fix 9600"},
    {"NothingBefore008B",               ":06008B0005317041040000\r\n", "DF18F3",
                                        "QUORL 41  -05-31 Baud Rate Programmable"},
    {"ProgrammableLeavesTheRate",       ":042020002000400900\r\n:042020007000400900\r\n", "DF172C",
                                        "ORVA 40 19200  Baud Rate Programmable"},
    {"AddressInLowerCaseIsAnother",     ":10007b00AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA1200\r\n", "DF181A"},
    {"RateCode110KeepsTheFormer",       k2020 + ":042020006500400900\r\n", "DF1716", "ORVA 40 9600  Baud Rate Fix 9600"},
    {"HalfAPair",                       ":0200000001A\r\n", "DF1C0F"},
    {"Rate4800",                        ":042020000F00400300\r\n", "DF1A58", "VEX 40 4800  Baud Rate Fix 4800"},
    {"Rate38400",                       ":042020003000400200\r\n", "DF1A78", "MURK 40 38400  Baud Rate Fix 38400"},
    {"Rate57600",                       ":04202000C000400600\r\n", "DF1B0C", " 40 57600  Baud Rate Fix 57600"},
    {"Rate115200",                      ":042020005F00400000\r\n", "DF1AA5", " 40 115200  Baud Rate Fix 115200"},
    {"ShortLineTakesTheProtocolAway",   k2020 + ":04202000\r\n", "DF1668", "ORVA  9600  Baud Rate Fix 9600"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Files, Analysis, testing::ValuesIn(kFileCases), testing::PrintToStringParamName());

TEST(ChosenFile, ShowsItsMetadataAndKeepsOnlyTheRateOfTheFormerOne) {
  const struct {
    const char* line;
    const char* checksum;
    const char* toolTip;
    bool keepsSpeed;
    const char* rate;
  } kFiles[] = {
      {":00000001FF", "1E02", "    []", false, ""},
      {":042020001500400900", "1A64", "ORVA  Baud Rate Fix 9600  [40]", true, "9600"},
      {":042020007000410500", "1ABC", "WORBY  Baud Rate Programmable  [41]", false, "9600"},
  };
  TestProgram program;
  for (const auto& file : kFiles) {
    auto during = Form::MousePointer::kDefault;
    program.computer.At(program.computer.Time(), [&] { during = program.tool.Pointer(); });
    program.ChooseHex({file.line}, std::string(file.checksum) + ".hex");
    EXPECT_EQ(program.tool.FileCheksum.Text(), file.checksum);
    EXPECT_EQ(program.tool.FileName.ToolTip(), file.toolTip);
    EXPECT_EQ(program.tool.useBB.Enabled(), file.keepsSpeed);
    EXPECT_EQ(program.tool.useBB.Ticked(), file.keepsSpeed);
    EXPECT_EQ(program.tool.image.ImageBaudRate, file.rate);
    EXPECT_EQ(during, Form::MousePointer::kHourglass);
    EXPECT_EQ(program.tool.Pointer(), Form::MousePointer::kDefault);
  }
}

TEST(ChosenFile, IsWarnedOfWhereItContradictsItself) {
  const std::string kData = ":0100000005FA\r\n";
  const std::string kEnd = ":00000001FF\r\n";
  const std::pair<std::string, const char*> kFiles[] = {
      {kData + kEnd + "\r\n\r\n", ""},
      {":020000040000FA\n:01000000fbFa\n:00000001FF", "line 2: check byte is FA, should be 04"},
      {kData + "0100000005FA\r\n" + kEnd, "line 2: begins with \"0\" in the place of a colon"},
      {":01000O0005FA\r\n" + kEnd, "line 1: \"O\" is no hex digit"},
      {":0100\t00005FA\r\n" + kEnd, "line 1: the character 09 is no hex digit"},
      {":0200000005F9\r\n" + kEnd, "line 1: has 12 digits, should have 14 by its length"},
      {":0100000005F\r\n" + kEnd, "line 1: has 11 digits, should have 12 by its length"},
      {"\r\n" + kData + kEnd, "line 1: is empty"},
      {kData + kEnd + kData, "line 3: stands after the end record"},
      {kData, "the file has no end record; it may be cut"},
      {kEnd, "the file contains no data"},
      {"", "the file is empty"},
  };
  TestProgram program;
  int number = 0;
  for (const auto& [text, warning] : kFiles) {
    program.computer.fileToChoose = program.Write(std::to_string(++number) + ".hex", text);
    program.tool.Command1.Press();
    EXPECT_EQ(program.tool.FileWarning.ToolTip(), warning) << number;
    EXPECT_EQ(program.tool.FileWarning.Visible(), *warning != 0) << number;
  }
  program.tool.FileName.SetText("");
  EXPECT_FALSE(program.tool.FileWarning.Visible());
}

TEST(ChosenFile, IsUsedAnywayOnlyByAYesOfTheOperator) {
  const std::string kEnd = ":00000001FF\r\n";
  const std::pair<std::string, const char*> kFiles[] = {
      {":0100000005FA\r\n" + kEnd, ""},
      {"\r\n:0100000005FA\r\n", "is damaged: line 1: is empty"},
      {"Quillon\r\n", "contains no firmware: line 1: begins with \"Q\" in the place of a colon"},
  };
  for (const auto& [text, doubt] : kFiles) {
    TestProgram program;
    const std::string path = program.computer.fileToChoose = program.Write("a.hex", text);
    program.computer.replies = {false, true};  // No leads back to the dialog
    program.tool.Command1.Press();
    const std::string question = std::string("Quillon: a.hex ") + doubt + ". Use it anyway?";
    EXPECT_EQ(program.computer.questions, std::vector<std::string>(*doubt ? 2 : 0, question));
    EXPECT_EQ(program.tool.FileName.Text(), path);

    program.tool.FileName.SetText("");
    program.computer.replies = {false};
    program.tool.FileDropped(path);
    EXPECT_EQ(program.tool.FileName.Text(), *doubt ? "" : path) << "a drop has no dialog to lead back to";
  }
}

TEST(ChosenFile, AllowsDownloadsBesideAProtocolUntilEmptied) {
  TestProgram program;
  program.tool.Protocol.SetText("");
  program.ChooseHex({":042020001500400900"});
  EXPECT_FALSE(program.tool.ComLoad.Enabled() || program.tool.ComLoad00.Enabled());
  EXPECT_FALSE(program.tool.Auto.Enabled());
  program.tool.Protocol.SetText("63");
  program.ChooseHex({":042020001500400900"});
  EXPECT_TRUE(program.tool.ComLoad.Enabled() && program.tool.ComLoad00.Enabled());
  program.tool.FileName.SetText("");
  EXPECT_FALSE(program.tool.ComLoad.Enabled() || program.tool.ComLoad00.Enabled());
  program.tool.Protocol.SetText("64");
  EXPECT_FALSE(program.tool.ComLoad.Enabled() || program.tool.ComLoad00.Enabled());
  EXPECT_EQ(program.tool.FileCheksum.Text() + program.tool.FileName.ToolTip(), "");
  EXPECT_FALSE(program.tool.useBB.Ticked() || program.tool.useBB.Visible());
}

TEST(ChosenFile, ThatCanNotBeHadLeavesTheButtonsOfAGoodOneBefore) {
  for (const std::string& name : {std::string("nowhere.hex"), std::string(300, 'a')}) {
    TestProgram program;
    program.ChooseHex({":042020001500400900"});
    EXPECT_TRUE(program.tool.FileWarning.Visible());
    program.computer.fileToChoose = program.computer.folder + name;
    program.tool.Command1.Press();
    ASSERT_EQ(program.computer.boxes.size(), 1u);
    const ShownBox& box = program.computer.boxes[0];
    const bool absent = name == "nowhere.hex";
    EXPECT_THAT(box.text, testing::StartsWith(absent ? "File not Found!" : "Error #  52\rBad file name"));
    EXPECT_THAT(box.text, testing::EndsWith(absent ? "!" : "\rPlease, Check your HEX file !"));
    EXPECT_EQ(box.title, absent ? "Quillon" : "Quillon Error");
    EXPECT_EQ(program.tool.FileCheksum.Text() + program.tool.FileName.ToolTip(), "    []");
    EXPECT_EQ(program.tool.image.ImageBaudRate, "9600");
    EXPECT_FALSE(program.tool.useBB.Enabled() || program.tool.FileWarning.Visible());
    EXPECT_TRUE(program.tool.ComLoad.Enabled());
    EXPECT_EQ(program.tool.Pointer(), Form::MousePointer::kDefault);
  }
}

}  // namespace
}  // namespace quillon::test
