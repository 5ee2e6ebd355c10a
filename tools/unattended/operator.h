#pragma once

#include <QElapsedTimer>
#include <QString>

#include "driver/window_driver.h"
#include "unattended/task.h"

namespace quillon {

/// Does a task at the windows, and says on standard output what an operator sees.
class Operator final : public WindowDriver {
 public:
  explicit Operator(Task task);

  /// Does the whole task and leaves the program by its Exit button.
  void Work();

  bool WentWell() const { return !failed_; }

 private:
  void SetUp();
  void Run(const Task::Step& step);
  void TickOnly(const QList<int>& controllers);

  void OnBox(QMessageBox& box) override;
  void OnStatus(const QString& line) override;
  void OnLook() override;

  /// Says the rows of the ticked controllers, and holds them against the checksum that Info shows.
  void Report();
  void ReportRow(int number, const QString& checksum);

  void Say(const QString& line);
  void Fail(const QString& reason);
  void KeepPicture(const QString& window);
  void KeepPicture(QWidget& window, const QString& name);

  Task task_;
  QElapsedTimer clock_;
  bool newLine_ = false;  ///< the status line waits for its picture
  bool failed_ = false;
};

}  // namespace quillon
