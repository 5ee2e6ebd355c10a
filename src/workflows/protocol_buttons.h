#pragma once

#include "forms/quillon.h"

namespace quillon {

// "3 -> 4" and "4 -> 3": move each ticked controller to the other protocol. A controller that can't be moved
// does not end the run.

bool Cmd3to4_Click(Quillon& form);
bool Cmd4to3_Click(Quillon& form);

}  // namespace quillon
