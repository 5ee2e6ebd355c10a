#pragma once

#include "forms/quillon.h"

namespace quillon {

// The message $74 makes a controller erase its flash and wait for batches. It then expects them at the
// download speed. Controllers of some products can keep the current speed of the line instead (`useBB`).

/// Erases a controller and prepares it for programming. Returns true when it acknowledged; its row is then
/// empty. Otherwise the row shows the failure. Closes `Message`.
bool FlashErase(Quillon& form, int& controller);

}  // namespace quillon
