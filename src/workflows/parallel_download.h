#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Download (Parallel): erases each ticked controller, streams the image once to all of them, checks each.
///
/// One controller that can't be erased ends the run before the first batch: every controller on the line
/// receives the batches, and it would write them over the image that it still has.
bool ComLoad_Click(Quillon& form);

}  // namespace quillon
