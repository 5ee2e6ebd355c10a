#pragma once

#include <cstdint>

#include "link/frame.h"

namespace quillon {

/// The message $73 to controller `y` (0 to 31), closed: what do you hold?
Bytes FlashCheckFrame(std::uint8_t protocol, int y);

}  // namespace quillon
