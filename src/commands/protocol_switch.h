#pragma once

#include "forms/quillon.h"

namespace quillon {

// Changes the protocol of a controller: on protocol 3, "RUD3" in the log, it reads text, on 4 frames.

/// Changes a controller from protocol 3 to 4. If it answers, a box is shown, and true is returned when the
/// operator has closed it.
bool SendP4(Quillon& form, int& controller);

/// Changes a controller from protocol 4 to 3. Returns whether it acknowledged; its row is then empty. Closes
/// `Message`.
bool Send55(Quillon& form, int& controller);

}  // namespace quillon
