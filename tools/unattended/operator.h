#pragma once

#include <QString>
#include <optional>

#include "driver/window_driver.h"
#include "unattended/forecast.h"
#include "unattended/task.h"
#include "unattended/teller.h"
#include "unattended/verdict.h"

namespace quillon {

/// The facts of a step's run, as far as the file and the program's folder tell them. Raises RunError.
RunFacts FactsOf(Job job, const QString& hex, const std::string& folder);

/// Does a task at the windows, and tells what an operator sees.
class Operator final : public WindowDriver {
 public:
  Operator(Task task, std::string folder);

  /// Does the whole task and leaves the program by its Exit button.
  void Work();

  Trouble Outcome() const { return trouble_; }

 private:
  void SetUp();
  void ChooseHex();
  void Run(const Task::Step& step);
  void TickOnly(const QList<int>& controllers);
  QList<int> TickedOnes() const;

  /// Raises Failure with the reason why a step can't be taken.
  void CheckReady(const Task::Step& step) const;
  void Foretell(const Task::Step& step);

  void OnBox(QMessageBox& box) override;
  void OnStatus(const QString& line) override;
  void OnLook() override;
  void ShowProgress();

  void HearInterrupt();
  /// Tells a row for each ticked controller.
  void Report(const Task::Step& step);
  void ReportController(int number, const Row& row, const Verdict& verdict);

  void Note(Trouble trouble) { trouble_ = Worse(trouble_, trouble); }
  /// Whether another step makes sense.
  bool MayGoOn() const { return trouble_ == Trouble::kNone || trouble_ == Trouble::kController; }
  void Fail(Trouble trouble, const QString& reason);
  void KeepPicture(const QString& window);
  void KeepPicture(QWidget& window, const QString& name);

  Task task_;
  std::string folder_;  ///< of the program
  Teller teller_;
  std::optional<Forecast> forecast_;  ///< of the current step
  QString stepWords_;
  double stepBegan_ = 0;
  bool newLine_ = false;  ///< the status line waits for its picture
  bool giveUp_ = false;   ///< the current run can't succeed any more
  Trouble trouble_ = Trouble::kNone;
};

}  // namespace quillon
