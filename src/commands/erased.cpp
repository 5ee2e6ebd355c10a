// If the serial device fails during a download, for example because its cable was pulled out, the controllers
// that are already erased have no firmware. The run-error box then also contains how many there are, and that
// they must be loaded again. This file adds that text to the exception.
#include "commands/erased.h"

#include <string>

#include "platform/run_error.h"

namespace quillon {

void WhileErased(int controllers, const std::function<void()>& step) {
  try {
    step();
  } catch (RunError& error) {
    const bool one = controllers == 1;
    if (error.number == RunError::kDeviceFailed) {
      error.description += "\r" + std::to_string(controllers) +
                           (one ? " controller is erased. Press Cancel, check the cable, load it again."
                                : " controllers are erased. Press Cancel, check the cable, load them again.");
    }
    throw;
  }
}

}  // namespace quillon
