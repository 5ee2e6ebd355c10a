#pragma once

#include "forms/quillon.h"

namespace quillon {

// The message $73 asks a controller for the version and the checksum of its firmware; flash_answer.h draws
// both forms of the answer.
//
// The commands receive the controller's number by reference because it is `CurrentController`: the loop
// variable of the run exists once, and the windows can show it.

/// Reads version and checksum of `y` into its row. With a file chosen, a checksum other than the file's is
/// shown white on red. False: the exchange failed, and the row shows the failure. Closes `Message`.
bool FlashCheck(Quillon& form, int& y);

}  // namespace quillon
