#pragma once

#include <functional>
#include <string>

namespace quillon {

class Quillon;

/// The texts of a run-error box besides the number and the description of the failure.
struct BoxWording {
  std::string title = "Quillon Error";
  std::string addition = "";  ///< follows the description
};

/// Executes a step. When it raises RunError, shows the failure in the run-error box. Returns whether the step
/// succeeded. A workflow that is executed as one step ends at its first failure; one of many steps continues.
bool Try(Quillon& form, const std::function<void()>& step, const BoxWording& wording = {});

}  // namespace quillon
