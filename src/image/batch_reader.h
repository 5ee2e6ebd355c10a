#pragma once

#include <string_view>

#include "image/hex_line.h"
#include "link/frame.h"
#include "platform/text_file.h"

namespace quillon {

/// Cuts a firmware file (Intel HEX, by columns) into batches. A batch is what one programming frame carries:
/// a load address, and the data of one or more lines that follow each other in the flash without a gap.
/// batch_reader.cpp draws one.
class BatchReader {
 public:
  /// `file` must outlive the reader.
  explicit BatchReader(std::string_view file) : lines_(file) {}

  /// Whether the file is read to its end. A line that was kept is then dropped.
  bool AtEnd() const { return lines_.AtEnd(); }

  /// The payload of the next batch: load address, always two bytes, high byte first, then the data in file
  /// order. Data that a short line lacks adds nothing. Raises RunError 62 when the file ends after the
  /// record that selects the first segment.
  Bytes Next();

 private:
  HexLine FirstLine();

  LineReader lines_;
  HexLine kept_{{}};  // opens the next batch; empty: none
};

/// The number of batches of a firmware file. One that can't be read is the last that counts.
int CountBatches(std::string_view file);

}  // namespace quillon
