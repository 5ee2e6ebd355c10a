// The cost of what the tool computes: it has to stay far below what a person can see.
#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "link/text_arithmetic.h"
#include "support/bench.h"

namespace quillon::test {
namespace {

constexpr unsigned kFlashBytes = 57'342;
constexpr unsigned kLineBytes = 16;

/// A file that fills the whole flash: some 161 kB of text.
std::vector<std::string> FullImage() {
  std::vector<std::string> lines{":020000040000FA"};
  for (unsigned address = 0; address < kFlashBytes; address += kLineBytes) {
    Bytes data(std::min(kLineBytes, kFlashBytes - address));
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint8_t>(address * 7 + i * 13);
    lines.push_back(HexRecord(address, data));
  }
  lines.push_back(HexRecord(0, {}, 1));
  return lines;
}

/// At most 0.2 ms, the file read included: thirty-two full checksums must cost nothing that a person can see.
void AnalyseHexFile(benchmark::State& state) {
  Bench bench;
  bench.ChooseHex(FullImage());
  for (auto _ : state) benchmark::DoNotOptimize(bench.tool.AnalyseHexFile());
}
BENCHMARK(AnalyseHexFile)->Unit(benchmark::kMicrosecond);

Bytes LongFrame() {
  Bytes frame(265);
  for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<std::uint8_t>(i * 31);
  return frame;
}

void FrameCrcOfText(benchmark::State& state) {
  const std::string text = ByteArrayToHex(LongFrame(), false);
  for (auto _ : state) benchmark::DoNotOptimize(FrameCrc(text));
}
BENCHMARK(FrameCrcOfText);

/// The measure for FrameCrc: a table of 256 entries over bytes that are read from the same text.
void TableCrcOfText(benchmark::State& state) {
  std::array<std::uint16_t, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned crc = byte << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000) ? (crc << 1) ^ 0x1021 : crc << 1;
    table[byte] = static_cast<std::uint16_t>(crc);
  }
  const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10); };
  const std::string text = ByteArrayToHex(LongFrame(), false);
  for (auto _ : state) {
    unsigned crc = 0;
    for (std::size_t i = 0; i + 1 < text.size(); i += 3) {
      const unsigned byte = digit(text[i]) << 4 | digit(text[i + 1]);
      crc = ((crc << 8) ^ table[(crc >> 8 ^ byte) & 0xFF]) & 0xFFFF;
    }
    std::string result(4, '0');
    for (int i = 3; i >= 0; --i, crc >>= 4)
      result[static_cast<std::size_t>(i)] = "0123456789ABCDEF"[crc & 0xF];
    benchmark::DoNotOptimize(result);
  }
}
BENCHMARK(TableCrcOfText);

}  // namespace
}  // namespace quillon::test
