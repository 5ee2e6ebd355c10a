#include "image/missing_batches.h"

#include <gmock/gmock.h>

#include <random>

#include "image/batch_reader.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

constexpr std::size_t kFlashBytes = 57342;

/// The checksum of a flash that holds these of the image's batches, counted byte by byte. `room` is the part
/// of the flash that the image lies in.
template <class Holds>
std::uint16_t Checksum(const std::vector<Bytes>& batches, std::size_t room, Holds holds) {
  std::uint8_t flash[kFlashBytes];
  std::fill_n(flash, room, 0xFF);
  for (std::size_t b = 0; b < batches.size(); ++b) {
    const std::size_t address = batches[b][0] * 256u + batches[b][1];
    if (holds(b)) std::copy(batches[b].begin() + 2, batches[b].end(), flash + address);
  }
  std::size_t sum = 255 * (kFlashBytes - room);
  for (std::size_t i = 0; i < room; ++i) sum += flash[i];
  return static_cast<std::uint16_t>(sum);
}

bool IsErased(const Bytes& batch) {
  return std::all_of(batch.begin() + 2, batch.end(), [](int byte) { return byte == 0xFF; });
}

void ExpectEachGapIsFound(const std::string& file, std::size_t room) {
  std::vector<Bytes> batches;
  for (BatchReader reader(file); !reader.AtEnd();) batches.push_back(reader.Next());
  const BatchSums sums(file);
  for (std::size_t lost = 0; lost < batches.size(); ++lost) {
    if (IsErased(batches[lost])) continue;
    const int number = static_cast<int>(lost) + 1;
    const auto one = sums.Explain(Checksum(batches, room, [&](auto b) { return b != lost; }));
    ASSERT_THAT(one.oneMissing, testing::Contains(number)) << file;
    const auto rest = sums.Explain(Checksum(batches, room, [&](auto b) { return b < lost; }));
    const bool last = std::all_of(batches.begin() + number, batches.end(), IsErased);
    ASSERT_THAT(last ? rest.oneMissing : rest.onlyFirst, testing::Contains(last ? number : number - 1))
        << file;
  }
}

TEST(MissingBatches, AreAmongTheCandidates) {
  ExpectEachGapIsFound(ReadFile(QUILLON_SAMPLES "/demo.hex"), kFlashBytes);
  constexpr unsigned kLine = 16;
  std::mt19937 random(21);
  for (int image = 0; image < 1000; ++image) {
    std::string file;
    for (unsigned address = 0; address < 0x400; address += random() % 7 == 0 ? 2 * kLine : kLine) {
      Bytes data(kLine);
      const bool erased = random() % 8 == 0;
      for (std::uint8_t& byte : data) byte = erased ? 0xFF : static_cast<std::uint8_t>(random());
      file += HexRecord(address, data) + "\n";
    }
    ASSERT_NO_FATAL_FAILURE(ExpectEachGapIsFound(file + ":00000001FF\n", 0x400));
  }
}

TEST(MissingBatches, AreDescribedWhileAtMostThreeFit) {
  const MissingBatches part{.oneMissing = {}, .onlyFirst = {10}, .batches = 25};
  const MissingBatches one{.oneMissing = {10, 20}, .onlyFirst = {}, .batches = 25};
  const MissingBatches other{.oneMissing = {3, 20}, .onlyFirst = {10}, .batches = 25};
  const MissingBatches many{.oneMissing = {1, 2, 3, 4}, .onlyFirst = {}, .batches = 25};
  EXPECT_EQ(DescribeMissing(part, "demo.hex"),
            "the checksum fits if it contains the first 10 of 25 batches of demo.hex");
  EXPECT_EQ(DescribeMissing(one, "demo.hex"), "the checksum fits if batch 10 or 20 is missing");
  EXPECT_EQ(DescribeMissing(other, "demo.hex"),
            "the checksum fits if it contains the first 10 of 25 batches of demo.hex, or if batch 3 or 20 is "
            "missing");
  EXPECT_EQ(DescribeMissing({.oneMissing = {2}, .onlyFirst = {0}, .batches = 25}, "demo.hex"),
            "the checksum fits if its flash is erased, or if batch 2 is missing");
  EXPECT_EQ(DescribeMissing(many, "demo.hex") + DescribeMissing({}, "demo.hex"), "");
  EXPECT_EQ(SuggestCause({one, many, other, one}), "3 controllers miss the same: raise the delay");
  EXPECT_EQ(SuggestCause({part, other}), "2 controllers contain the same part: load them again");
  EXPECT_EQ(SuggestCause({one, part}), "different batches: check the line");
  EXPECT_EQ(SuggestCause({one, many}), "");
}

}  // namespace
}  // namespace quillon::test
