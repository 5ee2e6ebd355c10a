#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Download (Serial): erases, programs and checks one ticked controller after the other. A step that fails at
/// run time shows its box, and the next step follows: a controller that was just erased must not be left
/// empty because one request to the port failed.
bool ComLoad00_Click(Quillon& form);

}  // namespace quillon
