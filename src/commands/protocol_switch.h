#pragma once

#include "forms/quillon.h"

namespace quillon {

// The bus has two protocols. A controller on protocol 3 reads text; on protocol 4 it reads frames.

/// Moves `y` from protocol 3 to 4 by the text "p400:4/". True: it answered, and the operator has answered the
/// box that reports it.
bool SendP4(Quillon& form, int& y);

/// Moves `y` from protocol 4 to 3 by a frame. True: it acknowledged, and its row is empty. Closes `Message`.
bool Send55(Quillon& form, int& y);

}  // namespace quillon
