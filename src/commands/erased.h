#pragma once

#include <functional>

namespace quillon {

/// Executes a step of the programming, during which `controllers` controllers are erased. Raises what the
/// step raises. If the serial device failed, the description also contains that these controllers are erased.
void WhileErased(int controllers, const std::function<void()>& step);

}  // namespace quillon
