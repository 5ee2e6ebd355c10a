#pragma once

#include "forms/quillon.h"

namespace quillon {

// The message $73 asks a controller for the version and the checksum of its firmware (flash_answer.h).
// Commands receive the controller's number by reference: it is `CurrentController`, the loop variable of all
// runs. They do not change it.

/// Writes version and checksum of a controller into its row. When a file is chosen, a checksum that differs
/// from the file's is shown white on red. Returns false after a failed exchange, which the row shows. Closes
/// `Message`.
bool FlashCheck(Quillon& form, int& controller);

}  // namespace quillon
