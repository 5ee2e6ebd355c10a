#pragma once

#include <functional>
#include <string>

namespace quillon {

class Quillon;

/// What a run-error box shows beside the failure itself.
struct BoxWording {
  std::string title = "Quillon Error";
  std::string addition = "";  ///< follows the description
};

/// Executes a step. When it raises RunError, the run-error box shows the failure and the caller continues
/// with its next step; a whole workflow executed as one step thus ends at its first failure. Returns whether
/// the step succeeded.
bool Try(Quillon& form, const std::function<void()>& step, const BoxWording& wording = {});

}  // namespace quillon
