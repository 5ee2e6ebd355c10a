// Finds the missing batches that explain the checksum of a controller.
//
// A controller adds up its whole flash, in which an erased byte is 255, and reports the low 16 bits. So each
// batch changes the checksum of an erased flash by the sum of (byte - 255) over its data:
//
//     all batches but the k-th     erased + all changes - change k
//     only the first n batches     erased + changes 1 to n
#include "image/missing_batches.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "image/analyse_image.h"
#include "image/batch_reader.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr std::size_t kMaxCandidates = 3;
constexpr std::size_t kAddressBytes = 2;  // at the beginning of a payload

std::uint16_t ErasedChecksum() {
  ImageFacts unused;
  return static_cast<std::uint16_t>(AnalyseImage(LineReader(""), unused));
}

std::uint16_t ChangeOf(const Bytes& payload) {
  const auto add = [](int sum, std::uint8_t byte) { return sum + byte - 255; };
  return static_cast<std::uint16_t>(std::accumulate(payload.begin() + kAddressBytes, payload.end(), 0, add));
}

/// "10, 12 or 20"
std::string JoinWithOr(const std::vector<int>& numbers) {
  std::string text = std::to_string(numbers.front());
  for (std::size_t i = 1; i < numbers.size(); ++i)
    text += (i + 1 == numbers.size() ? " or " : ", ") + std::to_string(numbers[i]);
  return text;
}

std::vector<int> Common(const std::vector<int>& one, const std::vector<int>& other) {
  std::vector<int> common;
  std::ranges::set_intersection(one, other, std::back_inserter(common));
  return common;
}

}  // namespace

bool MissingBatches::Useful() const {
  const std::size_t count = single.size() + first.size();
  return count > 0 && count <= kMaxCandidates;
}

BatchSums::BatchSums(std::string_view file) {
  BatchReader reader(file);
  try {
    while (!reader.AtEnd()) changes_.push_back(ChangeOf(reader.Next()));
  } catch (const RunError&) {
    // A download also ends there.
  }
}

MissingBatches BatchSums::Explain(std::uint16_t reported) const {
  MissingBatches missing{{}, {}, static_cast<int>(changes_.size())};
  std::uint16_t present = ErasedChecksum();
  const int whole = std::accumulate(changes_.begin(), changes_.end(), unsigned{present});
  int left = static_cast<int>(std::ranges::count_if(changes_, [](int change) { return change != 0; }));
  for (std::size_t done = 0; done < changes_.size(); ++done) {
    if (changes_[done] == 0) continue;
    const auto number = static_cast<int>(done);
    if (static_cast<std::uint16_t>(whole - changes_[done]) == reported) missing.single.push_back(number + 1);
    // "All but the last batch" is already reported as the absence of that batch.
    if (left-- > 1 && present == reported) missing.first.push_back(number);
    present = static_cast<std::uint16_t>(present + changes_[done]);
  }
  return missing;
}

std::string DescribeMissing(const MissingBatches& missing, const std::string& fileName) {
  if (!missing.Useful()) return "";
  std::string text = "the checksum fits if ";
  if (!missing.first.empty()) {
    text += "it contains the first " + JoinWithOr(missing.first) + " of " + std::to_string(missing.batches) +
            " batches of " + fileName;
  }
  if (!missing.single.empty())
    text +=
        (missing.first.empty() ? "batch " : ", or if batch ") + JoinWithOr(missing.single) + " is missing";
  return text;
}

std::string SuggestCause(const std::vector<MissingBatches>& controllers) {
  std::size_t count = 0;
  MissingBatches common;
  for (const MissingBatches& missing : controllers) {
    if (!missing.Useful()) continue;
    if (count++ == 0) common = missing;
    common = {Common(common.single, missing.single), Common(common.first, missing.first), missing.batches};
  }
  if (count < 2) return "";
  if (!common.single.empty()) return std::to_string(count) + " controllers miss the same: raise the delay";
  if (!common.first.empty())
    return std::to_string(count) + " controllers hold the same part: load them again";
  return "different batches: look at the line";
}

}  // namespace quillon
