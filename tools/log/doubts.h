#pragma once

#include <vector>

#include "log/runs.h"

namespace quillon {

/// Marks the answers of the runs that are doubtful although they are intact, and adds a note to their
/// entries:
///
///     - one that came from another controller;
///     - the last answer to a command that stays refused;
///     - the checksum of a flash check "as sent" when the verdict on the controller is not good, because it
///       refused the full checksum or did not confirm it.
///
/// The note on a checksum "as sent" of a good controller is the grade of its evidence, proven or confirmed.
void MarkDoubts(ParsedLog& log, const std::vector<Run>& runs);

}  // namespace quillon
