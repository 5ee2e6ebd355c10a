// A batch is what one programming frame carries: a load address, and the data of lines that follow each other
// in the flash without a gap.
//
//     :10 0000 00 ...16 bytes      opens a batch at 0000
//     :10 0010 00 ...16 bytes      its address is 0000 + 16: it joins
//     ...                          until more than 112 bytes stand there: with lines of 16, after the eighth
//     :10 0080 00 ...16 bytes      opens the next batch, as does a line with any other address
//
// 112 leaves room for one more line of usual length, so a frame stays below 140 bytes, and below the 255
// bytes of the length byte.
//
// The line that can't join is kept and opens the next batch. The end-of-file record is such a line. After a
// batch with room it is kept, and the end of the file drops it. After a full batch it was not looked at yet
// and opens a batch of its own: an address without data, sent like any other.
#include "image/batch_reader.h"

#include <utility>

#include "link/text_arithmetic.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr unsigned kStopsGrowingAbove = 112;  // data bytes

/// A line cut short has fewer pairs than its length says.
void AppendPair(Bytes& payload, std::string_view pair) {
  if (!pair.empty()) payload.push_back(static_cast<std::uint8_t>(HexToNumber(pair)));
}

void AppendData(Bytes& payload, const HexLine& line) {
  for (unsigned k = 0; k < line.DataLength(); ++k) AppendPair(payload, line.DataPair(k));
}

}  // namespace

/// The line that opens the next batch. The record that selects the first segment holds no data; it stands
/// where a file begins, so it is looked for here alone.
HexLine BatchReader::FirstLine() {
  if (!kept_.Empty()) return std::exchange(kept_, HexLine({}));
  const HexLine line(lines_.Next());
  return line.IsFirstSegment() ? HexLine(lines_.Next()) : line;
}

Bytes BatchReader::Next() {
  const HexLine first = FirstLine();
  Bytes payload{static_cast<std::uint8_t>(first.Address() >> 8), static_cast<std::uint8_t>(first.Address())};
  AppendData(payload, first);
  unsigned count = first.DataLength();
  while (count <= kStopsGrowingAbove && !lines_.AtEnd()) {
    const HexLine line(lines_.Next());
    if (first.Address() + count != line.Address()) {
      kept_ = line;
      break;
    }
    count += line.DataLength();
    AppendData(payload, line);
  }
  return payload;
}

int CountBatches(std::string_view file) {
  BatchReader batches(file);
  int count = 0;
  try {
    while (!batches.AtEnd()) {
      ++count;
      batches.Next();
    }
  } catch (const RunError&) {
    // The pass shows the failure when it comes to that batch.
  }
  return count;
}

}  // namespace quillon
