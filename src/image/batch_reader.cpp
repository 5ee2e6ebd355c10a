#include "image/batch_reader.h"

#include <utility>

#include "link/text_arithmetic.h"

namespace quillon {
namespace {

constexpr unsigned kGrowsUpTo = 112;  // data bytes

void AppendPair(Bytes& payload, std::string_view pair) {
  if (!pair.empty()) payload.push_back(static_cast<std::uint8_t>(HexToNumber(pair)));
}

void AppendData(Bytes& payload, const HexLine& line) {
  for (unsigned k = 0; k < line.DataLength(); ++k) AppendPair(payload, line.DataPair(k));
}

}  // namespace

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
  while (count <= kGrowsUpTo && !lines_.AtEnd()) {
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

}  // namespace quillon
