#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Boot Info: reads version and checksum of each ticked controller's boot code. The boot code of some
/// controllers accepts only the protocol byte 0x40, whatever their firmware accepts. So after the first
/// failed exchange with another byte, this run and all later ones send 0x40. They repeat it at one speed
/// until an answer or Cancel. Other speeds are tried only if `Protocol` gives 0x40.
bool ComBoot_Click(Quillon& form);

}  // namespace quillon
