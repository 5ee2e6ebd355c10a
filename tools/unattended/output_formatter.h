#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>
#include <chrono>
#include <optional>
#include <string>

#include "unattended/output_queue.h"

namespace quillon {

/// To milliseconds.
double Rounded(double seconds);

/// Reports what happens on the standard output, one line for each event: as text that begins with the time in
/// seconds, or as JSON objects:
///
///        1.204  Controller 1 : Erasing  (Speed : 9600 Bds) ...
///     {"event":"status","text":"Controller 1 : Erasing ...","time":1.204}
///
/// A terminal also gets a progress line, which is rewritten in place. No call waits for the reader of the
/// output: a reader that stalls loses lines but does not delay the run.
class OutputFormatter {
 public:
  enum class Form { kText, kJson };
  explicit OutputFormatter(Form form);

  /// `text` is for people, `facts` for programs.
  void Report(const QString& event, const QString& text, const QJsonObject& facts = {});
  /// Reports a status line. It is dropped while a megabyte waits for the reader. Where the progress line is
  /// on the same screen, it shows the status already.
  void ReportStatus(const QString& text, QJsonObject facts);
  /// A line for people only.
  void Explain(const QString& text);

  /// Shows the progress line on the standard error output, so that the standard output can be redirected. An
  /// empty text removes it. It is dropped while other output waits.
  void ShowProgress(const QString& text);

  double Seconds() const { return static_cast<double>(clock_.nsecsElapsed()) / 1e9; }

  /// Waits until the output is written: at most five seconds in all calls together. Returns whether all of it
  /// was written. When not, the reader is gone or stalled, or the disk is full, and some lines are lost.
  bool Finish();
  /// Writes an error message to the standard error output, and waits until it is written or the five seconds
  /// are over. Returns whether it was written.
  bool ReportError(const QString& text);

 private:
  QByteArray LineOf(const QString& event, const QString& text, QJsonObject facts) const;
  std::string WithProgressBelow(const QByteArray& line) const;
  std::chrono::steady_clock::time_point Deadline();

  const Form form_;
  const bool hasProgress_;  ///< the standard error output is a terminal
  const bool sameScreen_;   ///< so is the standard output
  bool droppedStatus_ = false;
  QByteArray progress_;  ///< as shown
  QElapsedTimer clock_;
  std::optional<std::chrono::steady_clock::time_point> deadline_;
  OutputQueue output_;
  OutputQueue errors_;
};

}  // namespace quillon
