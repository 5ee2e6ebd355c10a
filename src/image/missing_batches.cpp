// Finds the missing batches that explain the checksum of a controller. In a parallel download the controllers
// do not acknowledge batches, so a lost batch shows only in the checksum.
//
// A controller adds up its whole flash, in which an erased byte is 255, and reports the low 16 bits. So each
// batch changes the checksum of an erased flash by the sum of (byte - 255) over its data:
//
//     all batches but the k-th     checksum of an erased flash + all changes - change k
//     only the first n batches     checksum of an erased flash + changes 1 to n
#include "image/missing_batches.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "image/analyse_image.h"
#include "image/batch_reader.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr std::size_t kMaxCandidates = 3;  // more would not help the technician
constexpr std::size_t kAddressBytes = 2;   // at the beginning of a payload
constexpr int kErasedByte = 255;

/// The checksum of an empty image is that of an erased flash.
std::uint16_t ErasedChecksum() {
  ImageFacts unused;
  return static_cast<std::uint16_t>(AnalyseImage(LineReader(""), unused));
}

/// How a batch changes the checksum of an erased flash.
std::uint16_t ChangeOf(const Bytes& payload) {
  const auto add = [](int sum, std::uint8_t byte) { return sum + byte - kErasedByte; };
  return static_cast<std::uint16_t>(std::accumulate(payload.begin() + kAddressBytes, payload.end(), 0, add));
}

/// "10, 12 or 20"
std::string JoinWithOr(const std::vector<int>& numbers) {
  std::string text = std::to_string(numbers.front());
  for (std::size_t i = 1; i < numbers.size(); ++i)
    text += (i + 1 == numbers.size() ? " or " : ", ") + std::to_string(numbers[i]);
  return text;
}

std::vector<int> InBoth(const std::vector<int>& one, const std::vector<int>& other) {
  std::vector<int> both;
  std::ranges::set_intersection(one, other, std::back_inserter(both));
  return both;
}

}  // namespace

bool MissingBatches::Useful() const {
  const std::size_t count = oneMissing.size() + onlyFirst.size();
  return count > 0 && count <= kMaxCandidates;
}

BatchSums::BatchSums(std::string_view file) {
  BatchReader reader(file);
  try {
    while (!reader.AtEnd()) changes_.push_back(ChangeOf(reader.Next()));
  } catch (const RunError&) {
    // The file is unreadable from here on. A download stops at the same place: only the batches before count.
  }
}

MissingBatches BatchSums::Explain(std::uint16_t reported) const {
  MissingBatches missing{.oneMissing = {}, .onlyFirst = {}, .batches = static_cast<int>(changes_.size())};
  const auto add = [](std::uint16_t sum, int change) { return static_cast<std::uint16_t>(sum + change); };
  std::uint16_t checksumSoFar = ErasedChecksum();  // of a flash with the batches before the current one
  const std::uint16_t completeChecksum =
      std::accumulate(changes_.begin(), changes_.end(), checksumSoFar, add);
  auto changesLeft = std::ranges::count_if(changes_, [](int change) { return change != 0; });
  for (int before = 0; before < missing.batches; ++before) {
    const std::uint16_t change = changes_[static_cast<std::size_t>(before)];
    if (change == 0) continue;
    if (add(completeChecksum, -change) == reported) missing.oneMissing.push_back(before + 1);
    // "All but the last batch" is already reported as the absence of that batch.
    const bool isLast = changesLeft == 1;
    if (!isLast && checksumSoFar == reported) missing.onlyFirst.push_back(before);
    checksumSoFar = add(checksumSoFar, change);
    --changesLeft;
  }
  return missing;
}

std::string DescribeMissing(const MissingBatches& missing, const std::string& fileName) {
  if (!missing.Useful()) return "";
  std::string text = "the checksum fits if ";
  if (missing.onlyFirst == std::vector{0}) {
    text += "its flash is erased";
  } else if (!missing.onlyFirst.empty()) {
    text += "it contains the first " + JoinWithOr(missing.onlyFirst) + " of " +
            std::to_string(missing.batches) + " batches of " + fileName;
  }
  if (!missing.oneMissing.empty())
    text += (missing.onlyFirst.empty() ? "batch " : ", or if batch ") + JoinWithOr(missing.oneMissing) +
            " is missing";
  return text;
}

std::string SuggestCause(const std::vector<MissingBatches>& controllers) {
  std::size_t count = 0;  // of the controllers with useful candidates
  MissingBatches common;  // what explains all of them
  for (const MissingBatches& missing : controllers) {
    if (!missing.Useful()) continue;
    if (count++ == 0) common = missing;
    common = {.oneMissing = InBoth(common.oneMissing, missing.oneMissing),
              .onlyFirst = InBoth(common.onlyFirst, missing.onlyFirst),
              .batches = missing.batches};
  }
  if (count < 2) return "";
  if (!common.oneMissing.empty())
    return std::to_string(count) + " controllers miss the same: raise the delay";
  if (!common.onlyFirst.empty())
    return std::to_string(count) + " controllers contain the same part: load them again";
  return "different batches: check the line";
}

}  // namespace quillon
