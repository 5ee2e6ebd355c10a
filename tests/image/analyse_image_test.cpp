#include "image/analyse_image.h"

#include <gtest/gtest.h>

namespace quillon {
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

TEST_P(Analysis, SumsTheFlashAndTellsWhatTheFileSaysAboutItself) {
  ImageFacts facts;
  EXPECT_EQ(ChecksumText(AnalyseImage(GetParam().file, facts)), GetParam().checksum);
  EXPECT_EQ(facts.ImageProduct + " " + facts.ImageProtocol + " " + facts.ImageBaudRate + " " +
                facts.ImageVersion + " " + facts.ImageBaudText,
            GetParam().facts);
}

const std::string k2010 = ":10201000AAAAAAAAAAF1F2AAE0E5AAD3D1AAAAAA00\r\n";
const std::string k007B = ":10007B00AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA1200\r\n";
const std::string k2020 = ":042020001500400900\r\n";

// clang-format off
const FileCase kFileCases[] = {
    {"EmptyFile",                       "", "DF1E02"},
    {"EmptyLines",                      "\r\n\r\n\r\n", "DF1E02"},
    {"FirstSegmentAlone",               ":020000040000FA\r\n", "DF1E02"},
    {"FirstSegmentInTheMiddle",         ":0100000005FA\r\n:020000040000FA\r\n:0100010005F9\r\n", "DF1C0E"},
    {"FirstSegmentInLowerCaseCounts",   ":020000040000fa\r\n", "DF1C04"},
    {"FirstSegmentWithABlankCounts",    ":020000040000FA \r\n", "DF1C04"},
    {"OtherTypesCountLikeData",         ":020000021000EC\r\n", "DF1C14"},
    {"EndOfFileRecordAddsNothing",      ":00000001FF\r\n", "DF1E02"},
    {"HundredBytesOfTen",               ":64000000" + Repeated(100, "0A") + "00\r\n", "DEBE4E"},
    {"CarriageReturnEndsALine",         ":0100000005FA\r:0100010005F9\r", "DF1C0E"},
    {"LineFeedEndsALine",               ":0100000005FA\n:0100010005F9\n", "DF1C0E"},
    {"LastLineNeedsNoEnd",              ":0100000005FA\r\n:0100010005F9", "DF1C0E"},
    {"SameAddressCountsTwice",          ":0100000005FA\r\n:0100000005FA\r\n", "DF1C0E"},
    {"WrongColonTypeAndCheckByte",      "?01000099057F\r\n", "DF1D08"},
    {"LowerCaseDigits",                 ":01000000fb04\r\n", "DF1DFE"},
    {"OtherCharactersCountAsZero",      ":01000000G1\r\n", "DF1D04"},
    {"LengthWithoutData",               ":FF\r\n", "DE2001"},
    {"LengthOfOneDigit",                ":5\r\n", "DF1907"},
    {"DataEndsEarly",                   ":0300000001\r\n", "DF1B06"},
    {"DataEndsInMidPair",               ":020000005", "DF1C09"},
    {"CheckByteIsNoData",               ":0100000001FF\r\n", "DF1D04"},
    {"FullOfErasedBytes",               Repeated(224, ":FF000000" + Repeated(255, "FF") + "\n") +
                                            ":DE000000" + Repeated(222, "FF"), "DF1E02"},
    {"FullOfZeros",                     Repeated(224, ":FF\r\n") + ":DE\r\n", "0"},
    {"BelowZeroShowsItsLow32Bits",      Repeated(225, ":FF\r\n"), "FFFFDF21"},
    {"LowDigitsAt2010",                 k2010, "DF1A02", "   12-05-31 "},
    {"AllAt2020",                       k2020, "DF1A64", "ORVA 40 9600  Baud Rate Fix 9600"},
    {"VersionOver007BAnd008B",          k007B + ":06008B0005311541050100\r\n", "DF12B2",
                                        "WORBY 41 9600 12-05-31 Baud Rate Fix 9600"},
    {"NothingBefore008B",               ":06008B0005317041040000\r\n", "DF18F3",
                                        "QUORL 41  -05-31 Baud Rate Programmable"},
    {"LaterRecordOverwrites",           k2020 + ":042020002000410300\r\n", "DF16CC",
                                        "VEX 41 19200  Baud Rate Fix 19200"},
    {"UnknownCodesWipeNothing",         k2020 + ":04202000E000420600\r\n", "DF1790",
                                        "ORVA 42 9600  Baud Rate Fix 9600"},
    {"ProgrammableLeavesTheRate",       ":042020002000400900\r\n:042020007000400900\r\n", "DF172C",
                                        "ORVA 40 19200  Baud Rate Programmable"},
    {"ShortLineTakesTheProtocolAway",   k2020 + ":04202000\r\n", "DF1668", "ORVA  9600  Baud Rate Fix 9600"},
    {"ShortVersionRecord",              ":10201000AAAAAAAAAAF1F2\r\n", "DF1347", "   12-- "},
    {"LowerCaseAddressIsAnother",       ":02007b00AAAA\r\n", "DF1D58"},
    {"LowerCaseProtocolStandsAsItIs",   ":042020001500fe0900\r\n", "DF1B22", "ORVA fe 9600  Baud Rate Fix 9600"},
    {"LongLineFromAnotherAddress",      ":20200000" + Repeated(32, "09") + "00\r\n", "DEFF42"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Files, Analysis, testing::ValuesIn(kFileCases), testing::PrintToStringParamName());

TEST(Analysis, ThreeBitsOfTheFlagsTellTheRateAndFiveProductCodesHaveAName) {
  const char* const kRates[] = {"4800", "9600", "19200", "38400", "57600", "115200", "", ""};
  const char* const kProducts[] = {"", "", "MURK", "VEX", "QUORL", "WORBY", "", "", "", "ORVA"};
  for (int byte = 0; byte < 256; ++byte) {
    char line[40];
    std::snprintf(line, sizeof line, ":04202000%02X0040%02X00\r\n", byte, byte);
    ImageFacts facts;
    AnalyseImage(line, facts);
    const int code = byte / 16 % 8;
    EXPECT_EQ(facts.ImageBaudRate, kRates[code]) << byte;
    EXPECT_EQ(facts.ImageBaudText, code == 7   ? "Baud Rate Programmable"
                                   : code == 6 ? ""
                                               : std::string("Baud Rate Fix ") + kRates[code])
        << byte;
    EXPECT_EQ(facts.ImageProduct, byte < 10 ? kProducts[byte] : "") << byte;
  }
}

}  // namespace
}  // namespace quillon
