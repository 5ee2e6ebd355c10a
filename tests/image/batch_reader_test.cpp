#include "image/batch_reader.h"

#include <gtest/gtest.h>

#include "support/test_program.h"

namespace quillon::test {
namespace {

const std::string kEndOfFile = ":00000001FF\r\n";
const std::string kFirstSegment = ":020000040000FA\r\n";

/// A line of `count` data bytes that all hold `value`.
std::string Line(unsigned address, std::size_t count, std::uint8_t value = 0x11) {
  return HexRecord(address, Bytes(count, value)) + "\r\n";
}

/// Each batch as "address data" in hex, or as "address +count" where the data is long.
std::vector<std::string> Batches(const std::string& file) {
  constexpr std::size_t kShort = 10;
  std::vector<std::string> shown;
  for (BatchReader reader(file); !reader.AtEnd();) {
    const std::string digits = ToHex(reader.Next());
    const std::string data = digits.substr(4);
    const bool isLong = data.size() > 2 * kShort;
    shown.push_back(digits.substr(0, 4) + (isLong ? " +" : " ") +
                    (isLong ? std::to_string(data.size() / 2) : data));
  }
  return shown;
}

struct BatchCase {
  const char* name;
  std::string file;
  std::vector<std::string> batches;
};
void PrintTo(const BatchCase& c, std::ostream* out) { *out << c.name; }

class Batch : public testing::TestWithParam<BatchCase> {};

TEST_P(Batch, HoldsLinesWhoseAddressesRunOn) { EXPECT_EQ(Batches(GetParam().file), GetParam().batches); }

// clang-format off
const BatchCase kBatchCases[] = {
    {"EmptyFile", "", {}},
    {"InTheOrderOfTheFile", ":030010000102030000\n:02001300040500\n", {"0010 0102030405"}},
    {"RunsOnUpTo112Bytes", Line(0, 100) + Line(100, 12) + Line(112, 16) + Line(128, 16),
     {"0000 +128", "0080 +16"}},
    {"AddressesFall", Line(0x20, 2) + Line(0x10, 2, 0x22) + kEndOfFile, {"0020 1111", "0010 2222"}},
    {"AddressesDoNotWrapAround", Line(0xFFFF, 1) + Line(0, 1, 0x22) + kEndOfFile, {"FFFF 11", "0000 22"}},
    {"EndOfFileRecordAfterAFullBatch", Line(0, 113) + kEndOfFile, {"0000 +113", "0000 "}},
    {"EndOfFileRecordAlone", kEndOfFile, {"0000 "}},
    {"LastLineThatDoesNotRunOnIsLost", Line(0x10, 1) + Line(0x20, 1), {"0010 11"}},
    {"EmptyLineEndsABatchAndVanishes", Line(0x10, 1) + "\r\n" + Line(0x11, 1, 0x22), {"0010 11", "0011 22"}},
    {"FirstSegmentInMidBatch", Line(0x10, 1) + kFirstSegment + Line(0x11, 1) + kEndOfFile,
     {"0010 11", "0000 0000", "0011 11"}},
    {"BlankFirstLine", "\r\n" + Line(0x10, 1) + kEndOfFile, {"0000 ", "0010 11"}},
    {"ReturnReturnFeed", kFirstSegment.substr(0, 15) + "\r\r\n:0100100011DE\r\r\n:0100110022CC\r\r\n",
     {"0000 ", "0010 11", "0011 22"}},
    {"CutAddressHasFourDigits", ":04001\r\n" + kEndOfFile, {"0010 "}},
    {"LoneLastDigitIsAByte", ":04001000112\r\n" + kEndOfFile, {"0010 1102"}},
    {"CutLineCountsInFull", ":0400100011\r\n" + Line(0x14, 1, 0x22), {"0010 1122"}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Files, Batch, testing::ValuesIn(kBatchCases), testing::PrintToStringParamName());

TEST(Batch, TakesOneMoreLineUpTo112BytesAndNoneAbove) {
  for (const unsigned size : {1u, 112u, 113u, 255u})
    EXPECT_EQ(Batches(Line(0, size) + Line(size, 1)).size(), size <= 112 ? 1u : 2u) << size;
}

TEST(Batch, AreCountedUpToTheFirstThatFails) {
  const std::string line = ":01000000FF00\r\n";  // each line is a batch
  EXPECT_EQ(CountBatches(line + line + line), 2) << "as in a run, the end of the file drops a kept line";
  EXPECT_EQ(CountBatches(line + line + kFirstSegment), 2);
  EXPECT_EQ(CountBatches(Line(0, 113) + kFirstSegment), 2) << "the second one is begun, and fails";
}

TEST(Batch, AFileThatEndsAfterTheFirstSegmentRaises) {
  BatchReader reader(kFirstSegment);
  EXPECT_EQ(FailureNumber([&] { reader.Next(); }), 62);
  EXPECT_TRUE(reader.AtEnd());
}

}  // namespace
}  // namespace quillon::test
