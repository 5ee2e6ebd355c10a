#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Boot Info: version and checksum of each ticked controller's boot code.
///
/// The boot code of some controllers accepts the fixed protocol byte alone, whatever their firmware accepts.
/// After the first exchange without an answer the rest of the run, and each later run, therefore sends that
/// byte. Only then are the other speeds tried.
bool ComBoot_Click(Quillon& form);

}  // namespace quillon
