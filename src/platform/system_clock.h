#pragma once

namespace quillon {

/// How one operating system lets a thread sleep.
namespace system_clock {

/// Sleeps this long, in seconds, and up to WokenLate() longer.
void SleepFor(double seconds);

/// How much later than asked for a sleeper may be woken, in seconds.
double WokenLate();

}  // namespace system_clock
}  // namespace quillon
