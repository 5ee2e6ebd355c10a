// What only the real clock, the real windows and a real pseudo-terminal can show.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <vector>

#include "bench_main.h"
#include "commands/frames.h"
#include "desktop/desktop_clock.h"
#include "platform/system_line.h"
#include "records/job_recorder.h"
#include "support/started_program.h"
#include "technician.h"

namespace quillon::test {
namespace {

constexpr double kMostOverFloor = 1.01;

/// A pause is never short, and its median overshoot is at most 0.2 ms.
void Pause(benchmark::State& state) {
  constexpr double kPause = 0.010;  // seconds
  constexpr double kMostOvershoot = 200e-6;
  DesktopClock clock;
  std::vector<double> overshoots;
  for (auto _ : state) {
    const double end = clock.Now() + kPause;
    clock.SleepUntil(end);
    overshoots.push_back(clock.Now() - end);
  }
  std::sort(overshoots.begin(), overshoots.end());
  const double median = overshoots[overshoots.size() / 2];
  state.counters["least_us"] = overshoots.front() * 1e6;
  state.counters["median_us"] = median * 1e6;
  if (overshoots.front() < 0 || median > kMostOvershoot) state.SkipWithError("a pause is short or too long");
}
BENCHMARK(Pause)->Iterations(300)->Unit(benchmark::kMillisecond);

/// Seconds from the press of a button to the end of its run, which no box may stop.
double TimeOf(Technician& technician, const QString& button) {
  technician.StopLooking();
  QElapsedTimer timer;
  timer.start();
  technician.Click("Quillon", button);
  return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

void Report(benchmark::State& state, double floor, double seconds) {
  state.counters["floor_s"] = floor;
  state.counters["of_floor"] = seconds / floor;
  if (seconds <= floor * kMostOverFloor) return;
  state.SkipWithError((std::to_string(seconds / floor) + " of the floor; at most 1.01 is allowed").c_str());
}

constexpr double kAnswerDelay = 0.5;  // seconds; the pause after each answer

/// Seconds of `count` batches with a pause after each, handed to a line of the same kind by a bare loop: what
/// the system itself needs, to take the bytes and to wake a sleeper, is no cost of the tool.
double BareStream(int count, double pause) {
  constexpr std::size_t kPayload = 2 + 128;  // address and data
  const QTemporaryDir folder;
  const std::string path = folder.path().toStdString() + "/";
  StartedProgram bus(
      {QUILLON_BUS, "--link", path + "COM7", "--log", path + "bus.log", "--count", "1", "--quick"});
  bus.ReadLine();
  SystemLine line(path, 7);
  line.SetSpeed(9600);
  const Bytes frame = BatchFrame(kBroadcast, Bytes(kPayload));
  DesktopClock clock;
  const double begin = clock.Now();
  for (int batch = 0; batch < count; ++batch) {
    line.Send(frame);
    clock.SleepUntil(clock.Now() + pause);
  }
  return clock.Now() - begin;
}

/// A full image of 448 batches to one controller, on a line with no pace: what is left are the stream's
/// delays and the pauses after three answers, to the erase, to the full checksum and to the closing check.
/// With the argument 1 a job record is written.
void ParallelStream(benchmark::State& state) {
  constexpr int kBatches = 448;
  constexpr int kExchanges = 3;
  constexpr double kDelay = 0.010;  // seconds
  for (auto _ : state) {
    Technician technician({"--count", "1", "--quick", "--delay", "0"}, {.delay = "10", .controllers = {0}});
    // The end-of-file record fits into the last batch, so it does not begin another one.
    technician.ChooseFirmware(0x2000 - 128, (kBatches - 63) * 128 - 16);
    const QTemporaryDir records;
    JobRecorder recorder(records.path(), "", {}, [](const QString&) {});
    if (state.range(0) == 1) technician.AddObserver(recorder);
    const double seconds = TimeOf(technician, "Download (Parallel)");
    if (technician.Frames().size() != kBatches + kExchanges)
      state.SkipWithError("not one frame for each step");
    state.counters["of_delays"] = seconds / (kBatches * kDelay + kExchanges * kAnswerDelay);
    Report(state, BareStream(kBatches, kDelay) + kExchanges * kAnswerDelay, seconds);
  }
}
BENCHMARK(ParallelStream)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

/// A serial download to one controller on a paced line: each exchange its frame, the first byte of its answer
/// and the pause after that.
void SerialOnThePacedLine(benchmark::State& state) {
  constexpr double kByteTime = 11.0 / 9600;  // seconds
  for (auto _ : state) {
    Technician technician({"--count", "1", "--delay", "0"}, {.timeout = "500", .controllers = {0}});
    technician.ChooseFirmware(0x400, 0x200 - 16);
    const double seconds = TimeOf(technician, "Download (Serial)");
    double floor = 0;
    for (const std::string& frame : technician.Frames()) {
      const auto bytes = static_cast<double>(frame.size() - frame.rfind(' ') - 1) / 2;
      floor += (bytes + 1) * kByteTime + kAnswerDelay;
    }
    Report(state, floor, seconds);
  }
}
BENCHMARK(SerialOnThePacedLine)->Iterations(1)->Unit(benchmark::kMillisecond);

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A survey of a silent controller takes at most 3 % of a core: three waits for an answer, the two seconds of
/// the failure, and a cancelled wait at the next speed.
void SilentSurvey(benchmark::State& state) {
  constexpr double kMostOfACore = 0.03;
  constexpr std::chrono::seconds kSurvey(8);
  for (auto _ : state) {
    Technician technician({"--count", "1"}, {.timeout = "1000", .controllers = {5}});
    technician.StopLooking();
    QTimer::singleShot(kSurvey, &technician, [&] { technician.Click("Message", "Cancel"); });
    const double before = ProcessorSeconds();
    technician.Click("Quillon", "Flash Info");
    const double share = (ProcessorSeconds() - before) / std::chrono::duration<double>(kSurvey).count();
    const auto sends = technician.Frames().size();
    state.counters["of_a_core"] = share;
    if (sends < 4 || sends > 6) state.SkipWithError("it did not wait as it should");
    if (share > kMostOfACore) state.SkipWithError("a silent controller takes more than 3 % of a core");
  }
}
BENCHMARK(SilentSurvey)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillon::test

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  return quillon::test::RunBenches(argc, argv);
}
