#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Connects the events of the controls with the procedures that handle them.
void Wire(Quillon& form);

}  // namespace quillon
