// How soon a wait sees a byte.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "desktop/serial_port.h"

namespace quillon::test {
namespace {

constexpr int kPort = 7;

/// A serial port whose far end is this program.
class Line {
 public:
  Line() : farEnd_(posix_openpt(O_RDWR | O_NOCTTY)) {
    grantpt(farEnd_);
    unlockpt(farEnd_);
    const std::string link = (folder_.path() + "/COM" + QString::number(kPort)).toStdString();
    std::filesystem::create_symlink(ptsname(farEnd_), link);
    port.Open(kPort, {});
  }
  ~Line() {
    port.Close();
    close(farEnd_);
  }

  void SendByte() const {
    const char byte = 0x40;
    if (write(farEnd_, &byte, 1) != 1) std::abort();
  }

 private:
  QTemporaryDir folder_;
  int farEnd_;

 public:
  SerialPort port{folder_.path().toStdString() + "/"};
};

/// Median seconds from the sending of a byte to its being seen by a wait that takes `onePass` again and
/// again.
template <class Pass>
double MedianLatency(Pass onePass) {
  constexpr int kBytes = 201;
  using Time = std::chrono::steady_clock;
  Line line;
  std::vector<double> latencies;
  for (int i = 0; i < kBytes; ++i) {
    std::atomic<Time::rep> sent{0};
    std::thread controller([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(3));
      sent = Time::now().time_since_epoch().count();
      line.SendByte();
    });
    while (line.port.Waiting() == 0) onePass();
    const auto seen = Time::now().time_since_epoch().count();
    controller.join();
    latencies.push_back(std::chrono::duration<double>(Time::duration(seen - sent)).count());
    line.port.Read();
  }
  std::nth_element(latencies.begin(), latencies.begin() + kBytes / 2, latencies.end());
  return latencies[kBytes / 2];
}

/// A byte is seen at most 0.2 ms later than by a wait that spins.
void FirstByte(benchmark::State& state) {
  constexpr double kMostLater = 0.0002;  // seconds
  DesktopClock clock;
  DesktopEvents events(clock);
  double asleep = 0;
  double spinning = 0;
  for (auto _ : state) {
    asleep = MedianLatency([&] { events.YieldUntil(clock.Now() + 1); });
    spinning = MedianLatency([&] { events.Yield(); });
  }
  state.counters["asleep_us"] = asleep * 1e6;
  state.counters["spinning_us"] = spinning * 1e6;
  if (asleep - spinning > kMostLater) state.SkipWithError("a byte is seen more than 0.2 ms later");
}
BENCHMARK(FirstByte)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillon::test
