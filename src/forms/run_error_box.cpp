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
    // A number is written with a blank in the place of its sign.
    form.dialogs.ShowBox(
        "Error #  " + std::to_string(error.number) + "\r" + error.description + wording.addition,
        wording.title, BoxKind::kRunError);
  }
  // Cancel works between the boxes of a run that continues. A box of any other click does not yield: a second
  // choice of a file must not run inside the first.
  if (form.run.InRunItself()) form.run.Yield();
  return false;
}

}  // namespace quillon
