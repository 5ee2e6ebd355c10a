// The cost of what the tool computes: it has to stay far below what a person can see.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string>

#include "bench_main.h"
#include "image/hex_file.h"
#include "link/text_arithmetic.h"
#include "platform/text_file.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

constexpr unsigned kFlashBytes = 57'342;
constexpr unsigned kLineBytes = 16;

/// A file that fills the whole flash `times` times over: some 161 kB of text each.
std::vector<std::string> FullImage(int times) {
  std::vector<std::string> lines{":020000040000FA"};
  for (int i = 0; i < times; ++i) {
    for (unsigned address = 0; address < kFlashBytes; address += kLineBytes) {
      Bytes data(std::min(kLineBytes, kFlashBytes - address));
      for (std::size_t k = 0; k < data.size(); ++k) data[k] = static_cast<std::uint8_t>(address * 7 + k * 13);
      lines.push_back(HexRecord(address, data));
    }
  }
  lines.push_back(HexRecord(0, {}, 1));
  return lines;
}

/// The measure for the analysis: a reader in pieces of 256 KB that trusts its file. It takes each length as
/// it stands, sums the data bytes, and looks at nothing else.
class TrustingReader {
 public:
  TrustingReader() {
    for (int i = 0; i < 16; ++i) values_[static_cast<unsigned char>("0123456789ABCDEF"[i])] = unsigned(i);
  }

  std::int64_t Sum(const std::string& path) {
    const FileHandle file(std::fopen(path.c_str(), "rb"));
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    std::int64_t sum = 0;
    std::size_t kept = 0;
    while (const std::size_t count = std::fread(piece_.data() + kept, 1, piece_.size() - kept, file.get())) {
      const char* const end = piece_.data() + kept + count;
      const bool last = count < piece_.size() - kept;
      const char* line = piece_.data();
      while (end - line > (last ? 1 : kLongestLine)) line = NextLine(line, end, sum);
      kept = static_cast<std::size_t>(end - line);
      std::memmove(piece_.data(), line, kept);
    }
    return sum;
  }

 private:
  static constexpr std::ptrdiff_t kLongestLine = 9 + 2 * 255 + 4;

  unsigned Pair(const char* text) const {
    return values_[static_cast<unsigned char>(text[0])] << 4 | values_[static_cast<unsigned char>(text[1])];
  }
  const char* NextLine(const char* line, const char* end, std::int64_t& sum) const {
    const unsigned length = Pair(line + 1);
    const char* data = line + 9;
    unsigned lineSum = 0;
    for (unsigned i = 0; i < length; ++i, data += 2) lineSum += Pair(data);
    sum += lineSum;
    while (data < end && *data != '\n') ++data;
    return data + 1;
  }

  std::array<unsigned, 256> values_{};
  std::array<char, 1 << 18> piece_{};
};

/// Seconds of the quickest of some calls.
template <class Call>
double Quickest(int calls, Call call) {
  double least = 1e9;
  for (int i = 0; i < calls; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(call());
    least = std::min(least, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
  }
  return least;
}

/// The analysis, its file read included, at most twice the trusting reader: of one full image, and of some
/// 64 MB.
void AnalyseHexFile(benchmark::State& state) {
  constexpr double kMostOverTrusting = 2.0;
  constexpr int kRounds = 5;
  const auto calls = static_cast<int>(state.range(1));
  TestProgram program;
  program.ChooseHex(FullImage(static_cast<int>(state.range(0))));
  const std::string path = program.tool.FileName.Text();
  TrustingReader trusting;
  double analysis = 1e9;
  double measure = 1e9;
  for (auto _ : state) {
    for (int round = 0; round < kRounds; ++round) {
      analysis = std::min(analysis, Quickest(calls, [&] { return AnalyseHexFile(program.tool); }));
      measure = std::min(measure, Quickest(calls, [&] { return trusting.Sum(path); }));
    }
  }
  state.counters["analysis_us"] = analysis * 1e6;
  state.counters["trusting_us"] = measure * 1e6;
  state.counters["ratio"] = analysis / measure;
  if (analysis > measure * kMostOverTrusting) state.SkipWithError("slower than twice the trusting reader");
}
BENCHMARK(AnalyseHexFile)->Args({1, 200})->Args({400, 1})->Iterations(1)->Unit(benchmark::kMillisecond);

Bytes LongFrame() {
  Bytes frame(265);
  for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<std::uint8_t>(i * 31);
  return frame;
}

void FrameCrcOfText(benchmark::State& state) {
  const std::string text = ByteArrayToHex(LongFrame());
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
  const std::string text = ByteArrayToHex(LongFrame());
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

int main(int argc, char** argv) { return quillon::test::RunBenches(argc, argv); }
