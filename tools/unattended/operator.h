#pragma once

#include <QString>
#include <optional>

#include "driver/window_driver.h"
#include "unattended/forecast.h"
#include "unattended/reporter.h"
#include "unattended/task.h"
#include "unattended/verdict.h"

namespace quillon {

/// The facts of a step's run, as far as the file and the program's folder tell them. Raises RunError.
RunFacts FactsOf(Job job, const QString& hex, const std::string& folder);

/// Runs a task at the windows on behalf of an operator: fills the fields, presses the button of each step,
/// answers the boxes, and reports what an operator would see. One step is one run of the main window; the
/// next one starts when its row reports are written.
class Operator final : public WindowDriver {
 public:
  /// `folder` is the program's. `reporter` must outlive the operator.
  Operator(Task task, std::string folder, Reporter& reporter);

  /// Runs the whole task and ends the program by its Exit button.
  void Work();

  ErrorCategory Outcome() const { return outcome_; }

 private:
  void SetUp();
  void ChooseHex();
  void Run(const Task::Step& step);
  void TickOnly(const QList<int>& controllers);
  QList<int> TickedControllers() const;

  /// Raises Failure with the reason when a step cannot run.
  void CheckReady(const Task::Step& step) const;
  /// Begins the estimate of a step's time, and reports it.
  void Estimate(const Task::Step& step);

  void OnBox(QMessageBox& box) override;
  bool OnQuestion(QMessageBox& box) override;
  void OnStatus(const QString& line) override;
  void OnLook() override;
  void ShowProgress();

  void CheckInterrupt();
  /// Reports a row for each ticked controller.
  void Report(const Task::Step& step);
  void ReportController(int number, const Row& row, const Verdict& verdict);

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
  Reporter& reporter_;
  std::optional<Forecast> forecast_;  ///< of the current step
  QString stepWords_;
  QString refused_;  ///< the question about the file, when it was answered with No
  double stepStart_ = 0;
  bool statusChanged_ = false;  ///< since the last screenshot of the status line
  bool giveUp_ = false;         ///< the current run cannot succeed any more
  ErrorCategory outcome_ = ErrorCategory::kNone;
};

}  // namespace quillon
