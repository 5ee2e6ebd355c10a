#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// The missing batches that would explain the checksum of a controller without the whole image. They are only
/// candidates: a checksum has 16 bits, and several gaps can give the same one.
struct MissingBatches {
  std::vector<int> oneMissing;  ///< numbers from 1: the absence of this batch alone explains the checksum
  std::vector<int> onlyFirst;   ///< n: an erased flash with only the first n batches explains it
  int batches = 0;              ///< of the image

  bool operator==(const MissingBatches&) const = default;
  /// Whether there are one to three candidates. More would not help the technician.
  bool Useful() const;
};

/// Computes the checksums that a flash has after a download with gaps. Create one object for an image and
/// call Explain for each controller.
class BatchSums {
 public:
  /// `file` is the text of a firmware file. It is used up to the first batch that can't be read.
  explicit BatchSums(std::string_view file);

  /// The candidates for a reported checksum. A batch of bytes FF changes no checksum: it is no candidate.
  MissingBatches Explain(std::uint16_t reported) const;

 private:
  std::vector<std::uint16_t> changes_;  ///< how each batch changes the checksum of an erased flash
};

/// The candidates as a sentence: "the checksum fits if batch 10 or 20 is missing" or "the checksum fits if it
/// contains the first 10 of 25 batches of demo.hex". Empty when they are not useful.
std::string DescribeMissing(const MissingBatches& missing, const std::string& fileName);

/// The cause that the gaps of several controllers suggest: "3 controllers miss the same: raise the delay" if
/// one missing batch explains all, "3 controllers contain the same part: load them again" if one part of the
/// image does, else "different batches: check the line". Empty for less than two.
std::string SuggestCause(const std::vector<MissingBatches>& controllers);

}  // namespace quillon
