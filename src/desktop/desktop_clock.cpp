// Reads the steady clock and sleeps exactly. The system wakes a thread late by up to MaxDelay(). So
// SleepUntil sleeps until that long before the end of the pause, and then reads the clock in a loop.
#include "desktop/desktop_clock.h"

#include <chrono>

#include "desktop/deferred_paint.h"
#include "platform/system_clock.h"

namespace quillon {
namespace {

using Seconds = std::chrono::duration<double>;
constexpr double kTimeToPaint = 0.002;  // seconds; painting a status line needs a quarter of it

}  // namespace

double DesktopClock::Now() { return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count(); }

void DesktopClock::SleepUntil(double time) {
  if (time - Now() >= kTimeToPaint) deferred_paint::Do();
  const double pause = time - system_clock::MaxDelay() - Now();
  if (pause > 0) system_clock::SleepFor(pause);
  while (Now() < time) {
  }
}

}  // namespace quillon
