#pragma once

#include "platform/computer.h"

namespace quillon {

/// The computer's steady clock. A pause ends on time to some microseconds: the last fraction of a millisecond
/// is spent awake, since a sleeper is woken late. A pause of 2 ms or more paints first what waits to be
/// painted.
class DesktopClock final : public Clock {
 public:
  double Now() override;
  void SleepUntil(double time) override;
};

}  // namespace quillon
