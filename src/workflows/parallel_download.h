#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Download (Parallel): erases each ticked controller, sends the image once to all of them, checks each. If
/// one controller can't be erased, the run ends before the first batch. All controllers on the line receive
/// the batches, and that controller would write them over the image that it still has.
bool ComLoad_Click(Quillon& form);

}  // namespace quillon
