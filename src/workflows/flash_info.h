#pragma once

#include "forms/quillon.h"

namespace quillon {

/// Flash Info: reads version and checksum of each ticked controller's flash.
bool ComInfo_Click(Quillon& form);

}  // namespace quillon
