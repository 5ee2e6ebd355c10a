// Divides a firmware file (Intel HEX) into batches. A batch is the contents of one programming frame: a load
// address and the data of lines that are adjacent in the flash. A line is ":", length, address, type, data:
//
//     :10 0000 00 ...16 bytes      begins a batch at address 0000
//     :10 0010 00 ...16 bytes      address 0000 + 16: is appended
//     ...                          until it has more than 112 bytes: with lines of 16, after the eighth
//     :10 0080 00 ...16 bytes      begins the next batch, as does a line with any other address
//
// 112 bytes leave space for one more line of usual length: with lines of 16 bytes, a batch has at most 128
// bytes and its frame 140. The end record of the file has the address 0000. If it is read while the batch has
// space, it ends the batch and is dropped with the end of the file. If the last batch is full, it is read as
// a batch of its own: an address without data, which is sent like any other.
#include "image/batch_reader.h"

#include <utility>

#include "link/text_arithmetic.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr unsigned kFullAbove = 112;  // data bytes

/// Appends one byte, or nothing when the line is cut before it.
void AppendPair(Bytes& payload, std::string_view pair) {
  if (!pair.empty()) payload.push_back(static_cast<std::uint8_t>(HexToNumber(pair)));
}

void AppendData(Bytes& payload, const HexLine& line) {
  for (unsigned k = 0; k < line.DataLength(); ++k) AppendPair(payload, line.DataPair(k));
}

}  // namespace

/// The first line of the next batch. Skips the record that selects the first segment and begins the file.
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
  while (count <= kFullAbove && !lines_.AtEnd()) {
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
    // The download shows the failure when it reaches that batch.
  }
  return count;
}

}  // namespace quillon
