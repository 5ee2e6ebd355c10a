#pragma once

#include "platform/computer.h"

namespace quillon {

/// The steady clock of the computer. SleepUntil is exact to some microseconds: the system wakes a thread
/// late, so the last part of a pause is a busy wait. A pause of 2 ms or more first paints pending updates.
class DesktopClock final : public Clock {
 public:
  double Now() override;
  void SleepUntil(double time) override;
};

}  // namespace quillon
