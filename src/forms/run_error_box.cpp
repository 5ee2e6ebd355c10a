// Executes a step of a run or of a handler. If the step raises RunError, the operator sees the run-error box
// ("Error #  53", a line break, "File not found: ...") and Try returns false.
#include "forms/run_error_box.h"

#include "forms/quillon.h"
#include "platform/run_error.h"

namespace quillon {

bool Try(Quillon& form, const std::function<void()>& step, const BoxWording& wording) {
  try {
    step();
    return true;
  } catch (const RunError& error) {
    form.Report(RunFailure{error.number, error.description});
    // The second blank is where a negative number would have its sign.
    form.dialogs.ShowBox(
        "Error #  " + std::to_string(error.number) + "\r" + error.description + wording.addition,
        wording.title, BoxKind::kRunError);
  }
  // A run that continues handles Cancel here, between two boxes. A box outside a run handles no events: the
  // operator must not choose a second file while the first is being read.
  if (form.run.InRunItself()) form.run.Yield();
  return false;
}

}  // namespace quillon
