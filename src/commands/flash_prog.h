#pragma once

#include "forms/quillon.h"
#include "link/exchange.h"

namespace quillon {

// The programming pass of a parallel download: one stream of batches to all controllers at once.
//
// A broadcast has no answer: 32 controllers that answered together would disturb each other. So the tool
// cannot know when the slowest of them has written a batch into its flash. The delay in `Text2` after each
// batch is the only flow control. It must cover the transmission of the batch (160 ms for 140 bytes of 11
// bits at 9600 bits per second) and the writing.
//
// Controllers do not acknowledge batches. After the last batch the tool sends the full checksum to each
// controller. A controller that missed a batch refuses it.

/// Sends the image once to all controllers, then the full checksum to each ticked controller. A batch that
/// can't be sent shows the run-error box and the next one follows, because the controllers are already
/// erased. Only Cancel ends the pass early, between two batches.
void FlashProg(Quillon& form);

/// Sends the image's checksum to a controller, which compares it. Writes the result of each exchange into its
/// row. `status` ends the status line; `logLine` precedes the frame. Raises RunError like SendFrame.
ExchangeResult SendFullChecksum(Quillon& form, int controller, const char* status, const char* logLine);

}  // namespace quillon
