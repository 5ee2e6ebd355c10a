#pragma once

#include <functional>

namespace quillon {

/// Takes a step of the programming, while `controllers` controllers are erased. Raises what the step raises.
/// When the device went away, the description also says what that means for these controllers.
void WhileErased(int controllers, const std::function<void()>& step);

}  // namespace quillon
