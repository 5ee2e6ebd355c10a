// Sleeps on Windows by a waitable timer of high resolution. The function Sleep could end up to 16 ms late.
#include <windows.h>
// mmsystem.h uses the types of windows.h.
#include <mmsystem.h>

#include "platform/system_clock.h"

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace quillon::system_clock {
namespace {

/// The timer, created once. Windows before version 10, 1803, has none of high resolution: there an ordinary
/// one is used, with steps of 1 ms.
HANDLE Timer() {
  static const HANDLE timer = [] {
    const HANDLE fine =
        CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS);
    if (fine != nullptr) return fine;
    timeBeginPeriod(1);
    return CreateWaitableTimerW(nullptr, FALSE, nullptr);
  }();
  return timer;
}

}  // namespace

void SleepFor(double seconds) {
  constexpr double kTicksPerSecond = 1e7;
  LARGE_INTEGER due;
  due.QuadPart = -static_cast<LONGLONG>(seconds * kTicksPerSecond);  // negative: relative to now
  if (SetWaitableTimer(Timer(), &due, 0, nullptr, nullptr, FALSE)) WaitForSingleObject(Timer(), INFINITE);
}

double MaxDelay() { return 0.002; }  // two steps

}  // namespace quillon::system_clock
