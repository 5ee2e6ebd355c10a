#pragma once

#include "forms/quillon.h"

namespace quillon {

// The programming pass of a serial download: one controller acknowledges each batch before the next one is
// sent. So no delay is needed, but the tool waits 0.5 s for the end of each answer.

/// Sends the image to one controller, then the full checksum. The first failure ends the pass.
void FlashProg00(Quillon& form, int controller);

}  // namespace quillon
