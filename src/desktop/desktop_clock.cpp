#include "desktop/desktop_clock.h"

#include <chrono>
#include <thread>

#include "desktop/late_work.h"

namespace quillon {
namespace {

using Seconds = std::chrono::duration<double>;
constexpr double kAwake = 0.0004;       // seconds; a sleeper is woken up to 0.2 ms late
constexpr double kTimeForWork = 0.002;  // seconds; a line of text takes a quarter of it

}  // namespace

double DesktopClock::Now() { return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count(); }

void DesktopClock::SleepUntil(double time) {
  if (time - Now() >= kTimeForWork) late_work::Do();
  const double pause = time - kAwake - Now();
  if (pause > 0) std::this_thread::sleep_for(Seconds(pause));
  while (Now() < time) {
  }
}

}  // namespace quillon
