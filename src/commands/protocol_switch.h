#pragma once

#include "forms/quillon.h"

namespace quillon {

// Changes the protocol of a controller: on protocol 3, "RUD3" in the log, it reads text, on 4 frames.

/// Changes `y` from protocol 3 to 4. Returns whether it answered; if so, after a box was closed.
bool SendP4(Quillon& form, int& y);

/// Changes `y` from protocol 4 to 3. Returns whether it did, with its row empty. Closes `Message`.
bool Send55(Quillon& form, int& y);

}  // namespace quillon
