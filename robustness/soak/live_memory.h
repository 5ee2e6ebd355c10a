#pragma once

#include <cstddef>

namespace quillon::soak {

/// How much memory the process holds now.
extern std::size_t liveBlocks;
extern std::size_t liveBytes;

}  // namespace quillon::soak
