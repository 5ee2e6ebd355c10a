#pragma once

namespace quillon {

/// Sleeping with the precision of the operating system.
namespace system_clock {

/// Sleeps for `seconds`, and at most MaxDelay() longer.
void SleepFor(double seconds);

/// The longest delay, in seconds, with which the system wakes a thread.
double MaxDelay();

}  // namespace system_clock
}  // namespace quillon
