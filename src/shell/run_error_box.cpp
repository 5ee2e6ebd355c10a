// A failure at run time shows a box, and the run goes on or ends: see RunError for the numbers.
#include "shell/quillon.h"

namespace quillon {

bool Quillon::Try(const std::function<void()>& step, const BoxWording& wording) {
  try {
    step();
    return true;
  } catch (const RunError& error) {
    // A number is written with a blank in the place of its sign.
    desk_.ShowBox("Error #  " + std::to_string(error.number) + "\r" + error.description + wording.addition,
                  wording.title, BoxKind::kRunError);
  }
  // Cancel works between the boxes of a run that goes on. A box of any other click does not yield: a second
  // choice of a file must not run inside the first.
  if (runUnderWay_ && yieldDepth_ == runYieldDepth_) Yield();
  return false;
}

}  // namespace quillon
