#pragma once

#include <cstddef>

namespace quillon::soak {

/// How many blocks of memory the process holds now.
extern std::size_t liveBlocks;

}  // namespace quillon::soak
