#pragma once

#include <string_view>

#include "image/hex_line.h"
#include "link/frame.h"
#include "platform/text_file.h"

namespace quillon {

/// Cuts a firmware file (Intel HEX, by columns) into batches. A batch is what one programming frame carries:
/// a load address, and the data of one or more lines that follow each other in the flash without a gap.
///
///     :10 0000 00 ...16 bytes      opens a batch at 0000
///     :10 0010 00 ...16 bytes      its address is 0000 + 16: it joins
///     ...                          until more than 112 bytes stand there: with lines of 16, after the eighth
///     :10 0080 00 ...16 bytes      opens the next batch, as does a line with any other address
///
/// 112 leaves room for one more line of usual length, so a frame stays below 140 bytes and below the 255 that
/// its length byte can say.
///
/// The line that can't join is kept to open the next batch. So the end-of-file record has two fates: after a
/// batch with room it is kept, and dropped with the end of the file; after a full batch it opens one of its
/// own, an address without data, which is sent like any other.
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

}  // namespace quillon
