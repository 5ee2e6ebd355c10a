#pragma once

#include <QString>
#include <map>
#include <optional>

#include "driver/window_driver.h"
#include "image/missing_batches.h"
#include "results/estimate.h"
#include "results/run_results.h"
#include "unattended/error_category.h"
#include "unattended/output_formatter.h"
#include "unattended/task.h"

namespace quillon {

/// Runs a task by operating the windows of this process, as an operator would: fills the fields, presses the
/// button of each step, answers the boxes, and reports what happens. One step is one run of the main window;
/// the next one starts when its row reports are written. Progress, rows and verdicts come from the run events
/// alone, so they do not depend on which windows are open.
class Operator final : public WindowDriver, public RunObserver {
 public:
  /// `folder` is the program's. `output` must outlive the operator.
  Operator(Task task, std::string folder, OutputFormatter& output);

  /// Runs the whole task and ends the program by its Exit button.
  void RunTask();
  /// Reports the end of the work with the exit status.
  void ReportEnd();

  void OnRunEvent(const RunEvent& event) override;

  /// The worst error so far. Of a controller the last verdict counts.
  ErrorCategory Outcome() const;

 private:
  void SetUp();
  void ChooseHex();
  void RunSteps();
  /// Finishes a recorded download.
  void RunResume(Resume& resume);
  void Run(const Task::Step& step);
  void PressButton(const Task::Step& step);
  void TickOnly(const QList<int>& controllers);
  QList<int> TickedControllers() const;

  /// Raises Failure with the reason when a step cannot run.
  void CheckReady(const Task::Step& step) const;
  QList<int> FailedControllers() const;

  void On(const RunStarted& event);
  void On(const StatusShown& event);
  void On(const RunFailure& event) { failureNumber_ = event.number; }
  template <class Other>
  void On(const Other&) {}

  void OnBox(QMessageBox& box) override;
  bool OnQuestion(QMessageBox& box) override;
  void OnLook() override;
  void ShowProgress();

  void CheckInterrupt();
  /// Reports a row for each controller of the step's run.
  void Report(const Task::Step& step);
  /// Returns the batches that a controller seems to lack, if it reports another checksum than the file's.
  MissingBatches ReportController(int number);

  void Record(ErrorCategory category) { outcome_ = Worse(outcome_, category); }
  /// Whether another step makes sense.
  bool CanContinue() const {
    return outcome_ == ErrorCategory::kNone || outcome_ == ErrorCategory::kController;
  }
  void Fail(ErrorCategory category, const QString& reason);
  void SaveScreenshot(const QString& window);
  void SaveScreenshot(QWidget& window, const QString& name);

  Task task_;
  std::string folder_;  ///< of the program
  OutputFormatter& output_;
  RunResults results_;
  std::optional<BatchSums> sums_;     ///< of the file, when it could be read
  std::optional<Estimate> estimate_;  ///< of the run that is under way
  QString stepText_;
  QString refused_;  ///< the question about the file, when it was answered with No
  double stepStart_ = 0;
  QString status_;                                ///< the status line
  bool statusChanged_ = false;                    ///< since the last screenshot of the status line
  int failureNumber_ = 0;                         ///< of the run-error box that is shown next
  bool giveUp_ = false;                           ///< the current run cannot succeed any more
  std::map<int, bool> good_;                      ///< the last verdict of each controller
  ErrorCategory outcome_ = ErrorCategory::kNone;  ///< of all but the verdicts
};

}  // namespace quillon
