#include <windows.h>
// The system's header comes first; the next one uses its types.
#include <mmsystem.h>

#include "platform/system_clock.h"

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace quillon::system_clock {
namespace {

/// The timer that a pause sleeps on. Without one of high resolution (before Windows 10, 1803) the whole
/// system is asked for steps of 1 ms: a sleep ends up to 16 ms late by default.
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
  due.QuadPart = -static_cast<LONGLONG>(seconds * kTicksPerSecond);  // negative: from now on
  if (SetWaitableTimer(Timer(), &due, 0, nullptr, nullptr, FALSE)) WaitForSingleObject(Timer(), INFINITE);
}

double WokenLate() { return 0.002; }  // two of those steps

}  // namespace quillon::system_clock
