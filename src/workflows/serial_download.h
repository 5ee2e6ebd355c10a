#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Download (Serial): erases, programs batch by batch and checks each ticked controller before the next one.
///
/// A step that fails at run time shows its box, and the next step follows: the controller that was just
/// erased must not be left empty because one status request to the port failed.
bool ComLoad00_Click(Quillon& form);

}  // namespace quillon
