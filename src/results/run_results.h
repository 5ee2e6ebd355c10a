#pragma once

#include <array>
#include <optional>
#include <vector>

#include "forms/quillon.h"
#include "results/answer_numbers.h"
#include "results/verdict.h"

namespace quillon {

/// Collects evidence about controllers from the events of a run, and returns verdicts.
///
///     RunResults results;
///     form.observers.push_back(&results);
///     ...                                 // a run
///     for (const int y : results.Controllers()) Print(y, results.VerdictOf(y));
///
/// The evidence is that of the current or the last run. Only the verdict of a download is kept for longer.
class RunResults final : public RunObserver {
 public:
  void OnRunEvent(const RunEvent& event) override;

  /// The controllers of the run in ascending order: those ticked at its start, or those that Auto found.
  std::vector<int> Controllers() const;

  /// The evidence about a controller, 0 to 31, so far.
  Evidence EvidenceOf(int controller) const;

  /// The verdict on a controller, 0 to 31. After a failed download, reading does not improve it: a controller
  /// that refused its image is not good because its checksum matches.
  Verdict VerdictOf(int controller) const;

 private:
  struct DownloadVerdict {
    std::string fileChecksum;
    Verdict verdict;
  };

  void On(const RunStarted& event);
  void On(const ControllerBegun& event);
  void On(const ControllerFound& event);
  void On(const SpeedChanged& event);
  void On(const AnswerReceived& event);
  void On(const CommandAnswered& event);
  void On(const BatchBegun& event);
  void On(const RowFilled& event);
  void On(const RunEnded& event);
  template <class Other>
  void On(const Other&) {}

  Evidence& At(int controller) { return evidence_[static_cast<std::size_t>(controller)]; }

  RunStarted started_{};
  std::array<Evidence, kControllers> evidence_;
  bool speedChanged_ = false;  // since the last reply that was used as evidence
  AnswerNumbers numbers_;
  std::array<std::optional<DownloadVerdict>, kControllers> downloads_;
};

}  // namespace quillon
