#pragma once

#include "forms/quillon.h"

namespace quillon {

// The message $73 asks a controller for the version and the checksum of its firmware (flash_answer.h).
// Commands receive the number by reference: it is `CurrentController`, the loop variable of all runs.

/// Writes version and checksum of `y` into its row. When a file is chosen, a checksum that differs from the
/// file's is shown white on red. Returns false after a failed exchange, which the row shows. Closes
/// `Message`.
bool FlashCheck(Quillon& form, int& y);

}  // namespace quillon
