#pragma once

#include <string_view>

#include "image/hex_line.h"
#include "link/frame.h"
#include "platform/text_file.h"

namespace quillon {

/// Divides a firmware file (Intel HEX) into batches. A batch is the contents of one programming frame: a load
/// address, and the data of one or more lines that are adjacent in the flash. batch_reader.cpp draws one.
class BatchReader {
 public:
  /// `file` must outlive the reader.
  explicit BatchReader(std::string_view file) : lines_(file) {}

  /// Whether the file was read to its end. A line that was read but not used is then dropped.
  bool AtEnd() const { return lines_.AtEnd(); }

  /// The payload of the next batch: two bytes of load address, high byte first, then the data in file order.
  /// Raises RunError 62 when the file ends after the record that selects the first segment.
  Bytes Next();

 private:
  HexLine FirstLine();

  LineReader lines_;
  HexLine kept_{{}};  // first line of the next batch, read too early; empty: none
};

/// The number of batches of a firmware file, up to and including the first one that can't be read.
int CountBatches(std::string_view file);

}  // namespace quillon
