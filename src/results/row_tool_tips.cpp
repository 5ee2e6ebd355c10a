// Shows the verdict on a controller as the tool tip of its row, after its check and at the end of a run.
// `Ver` and `CkSum` are version and checksum.
#include "results/row_tool_tips.h"

namespace quillon {

void RowToolTips::OnRunEvent(const RunEvent& event) {
  results_.OnRunEvent(event);
  if (const auto* started = std::get_if<RunStarted>(&event.what)) {
    const RunKind kind = started->kind;
    fillsRows_ = IsDownload(kind) || kind == RunKind::kFlashInfo || kind == RunKind::kBootInfo;
    for (int y = 0; fillsRows_ && y < kControllers; ++y) SetToolTip(y, "");
  }
  if (!fillsRows_) return;
  if (const auto* ended = std::get_if<ControllerEnded>(&event.what)) {
    if (ended->phase == Phase::kCheck || ended->phase == Phase::kBootCheck) Show(ended->controller);
  }
  if (std::holds_alternative<RunEnded>(event.what)) {
    for (const int y : results_.Controllers()) Show(y);
  }
}

void RowToolTips::Show(int controller) { SetToolTip(controller, Describe(results_.VerdictOf(controller))); }

void RowToolTips::SetToolTip(int controller, const std::string& text) {
  info_.Ver(controller).SetToolTip(text);
  info_.CkSum(controller).SetToolTip(text);
}

}  // namespace quillon
