#pragma once

#include "forms/info.h"
#include "results/run_results.h"

namespace quillon {

/// Shows the verdicts of a run as tool tips of the rows in `Info`: "no-answer: it did not answer, and it may
/// be erased; check power, cable, ...". Auto and the protocol buttons do not change them.
class RowToolTips final : public RunObserver {
 public:
  explicit RowToolTips(Info& info) : info_(info) {}
  void OnRunEvent(const RunEvent& event) override;

 private:
  void Show(int controller);
  void SetToolTip(int controller, const std::string& text);

  Info& info_;
  RunResults results_;
  bool fillsRows_ = false;  // the run that is under way
};

}  // namespace quillon
