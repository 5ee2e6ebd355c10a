#pragma once

#include "forms/quillon.h"

namespace quillon {

// The programming pass of a serial download: one controller acknowledges each batch before the next one is
// sent. The acknowledgements are the flow control, so no delay is needed; the cost is an answer's pause for
// every batch.

/// Streams the image to `y` alone, then sends it the full checksum. The first failure ends the pass.
void FlashProg00(Quillon& form, int& y);

}  // namespace quillon
