#pragma once

#include "image/missing_batches.h"
#include "results/verdict.h"

namespace quillon {

/// What could explain that a controller reports another checksum than that of the file, whose batches are
/// `sums`. No candidates when it reports the same, or none.
MissingBatches GapOf(const Evidence& evidence, const BatchSums& sums);

}  // namespace quillon
