#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Auto: which controllers are on the line? Every number is asked at every speed, and its box ticked when it
/// answers. A controller that is present answers at once, so the wait for each is short; on an empty line the
/// run still takes minutes.
bool Auto_Click(Quillon& form);

}  // namespace quillon
