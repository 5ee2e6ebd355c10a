#include "desktop/desktop_clock.h"

#include <chrono>

#include "desktop/deferred_paint.h"
#include "platform/system_clock.h"

namespace quillon {
namespace {

using Seconds = std::chrono::duration<double>;
constexpr double kTimeForWork = 0.002;  // seconds; a line of text takes a quarter of it

}  // namespace

double DesktopClock::Now() { return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count(); }

void DesktopClock::SleepUntil(double time) {
  if (time - Now() >= kTimeForWork) deferred_paint::Do();
  const double pause = time - system_clock::WokenLate() - Now();
  if (pause > 0) system_clock::SleepFor(pause);
  while (Now() < time) {
  }
}

}  // namespace quillon
