#pragma once

#include "forms/quillon.h"

namespace quillon {

// The buttons "3 -> 4" and "4 -> 3": change the protocol of each ticked controller. A controller that refuses
// or does not answer does not end the run.

bool Cmd3to4_Click(Quillon& form);
bool Cmd4to3_Click(Quillon& form);

}  // namespace quillon
