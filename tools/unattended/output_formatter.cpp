// Formats events as lines of text or JSON, and keeps the progress line below them:
//
//        1.204  Controller 1 : Erasing  (Speed : 9600 Bds) ...
//     serial: batch 12/25, controller 0/3, 0:14 passed, 1:03 left: ...
//
// To print a line, the progress line is blanked out, the new line is written in its place, and the progress
// line is written again below it. OutputQueue writes all text, so that a stalled reader cannot delay a run.
#include "unattended/output_formatter.h"

#include <QJsonDocument>
#include <cmath>
#include <cstdio>

#include "unattended/console.h"

namespace quillon {
namespace {

constexpr int kProgressWidth = 79;  // the narrowest terminals have 80 columns
constexpr std::size_t kMostWaitingForStatus = 1 << 20;
constexpr std::chrono::milliseconds kLongestWait(4500);
constexpr std::chrono::milliseconds kErrorWait(500);  // after kLongestWait: five seconds together
const QString kTimeColumn(10, ' ');                   // "   1.204  "

/// Replaces the progress line on the screen by `text`. A carriage return moves to the beginning of the line.
QByteArray ProgressUpdate(const QByteArray& text) {
  return '\r' + QByteArray(kProgressWidth, ' ') + '\r' + text;
}

}  // namespace

double Rounded(double seconds) { return std::round(seconds * 1000) / 1000; }

OutputFormatter::OutputFormatter(Form form)
    : form_(form),
      hasProgress_(console::IsTerminal(stderr)),
      sameScreen_(hasProgress_ && console::IsTerminal(stdout)),
      output_(stdout),
      errors_(stderr) {
  clock_.start();
}

void OutputFormatter::Report(const QString& event, const QString& text, const QJsonObject& facts) {
  output_.Write(WithProgressBelow(LineOf(event, text, facts)));
}

void OutputFormatter::ReportStatus(const QString& text, QJsonObject facts) {
  if (sameScreen_ && form_ == Form::kText) return;
  facts["text"] = text;
  const std::string line = WithProgressBelow(LineOf("status", text, facts));
  if (!output_.WriteUnlessWaiting(line, kMostWaitingForStatus)) droppedStatus_ = true;
}

void OutputFormatter::Explain(const QString& text) {
  if (form_ == Form::kText) output_.Write(WithProgressBelow((kTimeColumn + text).toUtf8()));
}

/// If both streams are shown on one screen, their texts could arrive in the wrong order. So the progress line
/// then goes to the standard output as well.
void OutputFormatter::ShowProgress(const QString& text) {
  const QByteArray shown = text.left(kProgressWidth).toUtf8();
  if (!hasProgress_ || shown == progress_) return;
  OutputQueue& screen = sameScreen_ ? output_ : errors_;
  const std::size_t limit = shown.isEmpty() ? SIZE_MAX : 0;  // the removal is never dropped
  if (screen.WriteUnlessWaiting(ProgressUpdate(shown).toStdString(), limit)) progress_ = shown;
}

bool OutputFormatter::Finish() { return output_.Finish(Deadline()) && !droppedStatus_; }

bool OutputFormatter::ReportError(const QString& text) {
  errors_.Write((text + '\n').toStdString());
  return errors_.Finish(Deadline() + kErrorWait);
}

QByteArray OutputFormatter::LineOf(const QString& event, const QString& text, QJsonObject facts) const {
  if (form_ == Form::kText) return QString("%1  %2").arg(Seconds(), 8, 'f', 3).arg(text).toUtf8();
  facts["event"] = event;
  facts["time"] = Rounded(Seconds());
  return QJsonDocument(facts).toJson(QJsonDocument::Compact);
}

std::string OutputFormatter::WithProgressBelow(const QByteArray& line) const {
  if (!sameScreen_ || progress_.isEmpty()) return (line + '\n').toStdString();
  return (ProgressUpdate("") + line + '\n' + progress_).toStdString();
}

std::chrono::steady_clock::time_point OutputFormatter::Deadline() {
  if (!deadline_) deadline_ = std::chrono::steady_clock::now() + kLongestWait;
  return *deadline_;
}

}  // namespace quillon
