#pragma once

#include "forms/quillon.h"

namespace quillon {

// The message $74 makes a controller erase its flash and wait for batches. Most controllers wait for them at
// the download speed, to which the tool changes next. Those of some products can be told to stay at the
// line's speed.

/// Erases `y` and prepares it for programming. True: it acknowledged, and its row is empty. False: the row
/// shows the failure. Closes `Message`.
bool FlashErase(Quillon& form, int& y);

}  // namespace quillon
