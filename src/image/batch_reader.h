#pragma once

#include <string_view>

#include "image/hex_line.h"
#include "link/frame.h"
#include "platform/text_file.h"

namespace quillon {

/// Cuts a firmware file (Intel HEX, by columns) into batches: what one programming frame carries. A batch
/// holds lines whose addresses run on; it takes one more line while it has at most 112 data bytes.
///
/// The line that ends a batch opens the next one. So an end-of-file record behind a batch that still had room
/// is read ahead, and goes no further when the file ends with it; behind a full batch it makes a batch of its
/// own, an address with no data.
class BatchReader {
 public:
  /// `file` must outlive the reader.
  explicit BatchReader(std::string_view file) : lines_(file) {}

  /// Whether the file is read to its end; a line read ahead may then be left behind.
  bool AtEnd() const { return lines_.AtEnd(); }

  /// The payload of the next batch: load address, always two bytes, high byte first, then the data in file
  /// order. Data that a short line lacks adds nothing. Raises RunError 62 when the file ends behind the
  /// record that selects the first segment.
  Bytes Next();

 private:
  HexLine FirstLine();

  LineReader lines_;
  HexLine held_{{}};  // read ahead, to open the next batch; empty: none
};

}  // namespace quillon
