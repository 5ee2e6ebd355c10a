#pragma once

#include "forms/quillon.h"
#include "link/exchange.h"

namespace quillon {

// The programming pass of a parallel download: one stream of batches to all controllers at once.
//
// A broadcast has no answer: 32 controllers that answered together would disturb each other. So the tool
// cannot know when the slowest of them has written a batch into its flash. The delay of `Text2` after each
// batch is the only flow control. It has to cover the batch's own time on the line (160 ms for 140 bytes of
// 11 bits at 9600) and the writing.
//
// Controllers do not acknowledge batches. After the last batch the tool sends the full checksum to each
// controller. A controller that missed a batch refuses it.

/// Streams the image once to all controllers, paced by `Text2`, then sends the full checksum to each ticked
/// one. Only Cancel ends the stream early, between two batches: a step that fails shows its box, and the next
/// one follows, since the controllers are erased already. The rows show what failed.
void FlashProg(Quillon& form);

/// Sends the image's checksum to `y` for confirmation, and shows the result of each exchange in its row.
/// `status` follows the controller's name in the status line; `logLine` precedes the frame in the log.
/// Raises RunError like SendFrame.
ExchangeResult SendFullChecksum(Quillon& form, int y, const char* status, const char* logLine);

}  // namespace quillon
