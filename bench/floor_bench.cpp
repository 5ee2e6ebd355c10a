// Both downloads against their floor: the waits that are prescribed and the time that the bytes need on the
// line. The clock is virtual and the line paced, so the figures are exact.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "support/test_program.h"

namespace quillon::test {
namespace {

using std::chrono::duration;

constexpr double kAnswerDelay = 0.5;  // seconds
constexpr double kBitsPerByte = 11;   // start, eight data, two stop
constexpr int kBatchDelay = 170;      // milliseconds; a batch needs 160 at 9600
constexpr double kMostOverFloor = 1.02;

std::vector<std::string> SmallImage() {
  std::vector<std::string> lines{":020000040000FA"};
  for (unsigned address = 0; address < 6144; address += 16)
    lines.push_back(HexRecord(address, Bytes(16, 0x5A)));
  lines.push_back(HexRecord(0x2020, {0xF0, 0x00, 0x40, 0x02}));
  lines.push_back(HexRecord(0, {}, 1));
  return lines;
}

/// The least that what was sent can have taken: an exchange its frame, the first byte of its answer and the
/// pause after that; a broadcast batch its delay, or its bytes' time where that is longer.
double Floor(const FakeComputer& computer) {
  double seconds = 0;
  for (const SentBytes& frame : computer.sent) {
    const double byteTime = kBitsPerByte / frame.baud;
    const double onLine = static_cast<double>(frame.bytes.size()) * byteTime;
    const bool broadcast = frame.bytes[1] == 0x5F;
    seconds += broadcast ? std::max(onLine, kBatchDelay / 1000.0) : onLine + byteTime + kAnswerDelay;
  }
  return seconds;
}

void Download(benchmark::State& state, CommandButton Quillon::*button) {
  const auto controllers = static_cast<int>(state.range(0));
  const auto baud = static_cast<int>(state.range(1));
  double ratio = 0;
  double floor = 0;
  for (auto _ : state) {
    bus::Bus bus({.answerDelay = Nanoseconds(0), .downloadBaud = baud});
    TestProgram program;
    program.computer.bus = &bus;
    program.tool.DownloadSettings = std::to_string(baud) + ",N,8,2";
    program.tool.Vitesse.SetText(std::to_string(baud));
    program.tool.Text2.SetText(std::to_string(kBatchDelay));
    program.ChooseHex(SmallImage());
    for (int number = 0; number < controllers; ++number) {
      bus.Add({.number = number, .baud = baud});
      program.tool.C(number).SetValue(CheckBox::kTicked);
    }
    const Nanoseconds begin = program.computer.Time();
    (program.tool.*button).Press();
    floor = Floor(program.computer);
    ratio = duration<double>(program.computer.Time() - begin).count() / floor;
  }
  state.counters["floor_s"] = floor;
  state.counters["of_floor"] = ratio;
  if (ratio > kMostOverFloor) state.SkipWithError("slower than 1.02 of the floor");
}

BENCHMARK_CAPTURE(Download, parallel, &Quillon::ComLoad)
    ->ArgsProduct({{1, 8, 32}, {9600, 38400}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Download, serial, &Quillon::ComLoad00)
    ->ArgsProduct({{1, 8, 32}, {9600, 38400}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillon::test
