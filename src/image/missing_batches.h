#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// What could explain the checksum of a controller that does not have the whole image.
///
/// Candidates, not findings: a checksum has 16 bits, and several gaps can give the same one.
struct MissingBatches {
  std::vector<int> single;  ///< numbers of batches, from 1: each one's absence alone explains the checksum
  std::vector<int> first;   ///< an erased flash with only the first n batches explains it
  int batches = 0;          ///< of the image

  bool operator==(const MissingBatches&) const = default;
  /// Whether there are candidates, and few enough (at most three) to be worth naming.
  bool Useful() const;
};

/// The contents of a flash after a download with gaps. Made once for an image, then asked for each
/// controller.
class BatchSums {
 public:
  /// `file` is the text of a firmware file (Intel HEX). A batch that can't be read ends the image.
  explicit BatchSums(std::string_view file);

  /// The candidates for the low 16 bits of a reported checksum. A batch of erased bytes (FF) changes no
  /// checksum and is never a candidate.
  MissingBatches Explain(std::uint16_t reported) const;

 private:
  std::vector<std::uint16_t> changes_;  ///< by which each batch changes the checksum of an erased flash
};

/// The candidates as a sentence: "the checksum fits if batch 10 or 20 is missing" or "the checksum fits if
/// it holds the first 10 of 25 batches of demo.hex" Empty when they are not useful.
std::string DescribeMissing(const MissingBatches& missing, const std::string& fileName);

/// The cause that the gaps of several controllers suggest: "3 controllers miss the same: raise the delay"
/// when the absence of one batch explains all, "3 controllers hold the same part: load them again" when one
/// part of the image does, else "different batches: look at the line". Empty for fewer than two useful ones.
std::string CompareMissing(const std::vector<MissingBatches>& controllers);

}  // namespace quillon
