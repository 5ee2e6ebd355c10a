#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Auto: finds the controllers on the line. Sends $73 to every number at every speed, and ticks the box of
/// each controller that answers. A controller that is present answers at once, so the time-out is short. On
/// an empty line the run still takes minutes.
bool Auto_Click(Quillon& form);

}  // namespace quillon
