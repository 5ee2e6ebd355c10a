// Shows the verdict on each controller as the tool tip of its row in the table `Info`: when the controller
// was checked, and again at the end of the run, when all evidence is known. `info_.Ver(n)` and
// `info_.CkSum(n)` are the two boxes of row n.
#include "results/row_tool_tips.h"

namespace quillon {

void RowToolTips::OnRunEvent(const RunEvent& event) {
  results_.OnRunEvent(event);
  if (const auto* started = std::get_if<RunStarted>(&event.what)) {
    const RunKind kind = started->kind;
    fillsRows_ = IsDownload(kind) || kind == RunKind::kFlashInfo || kind == RunKind::kBootInfo;
    for (int controller = 0; fillsRows_ && controller < kControllers; ++controller)
      SetToolTip(controller, "");
  }
  if (!fillsRows_) return;
  if (const auto* ended = std::get_if<ControllerEnded>(&event.what)) {
    if (ended->phase == Phase::kCheck || ended->phase == Phase::kBootCheck) Show(ended->controller);
  }
  if (std::holds_alternative<RunEnded>(event.what)) {
    for (const int controller : results_.Controllers()) Show(controller);
  }
}

void RowToolTips::Show(int controller) { SetToolTip(controller, Describe(results_.VerdictOf(controller))); }

void RowToolTips::SetToolTip(int controller, const std::string& text) {
  info_.Ver(controller).SetToolTip(text);
  info_.CkSum(controller).SetToolTip(text);
}

}  // namespace quillon
