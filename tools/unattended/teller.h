#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>

namespace quillon {

/// To milliseconds.
double Rounded(double seconds);

/// Tells on standard output what happens, a line for each event, at once: for people, with the time before
/// it, or as JSON objects. On a terminal there is a line of progress below, which is written over and over.
class Teller {
 public:
  enum class Form { kText, kJson };
  explicit Teller(Form form);

  /// `text` is for people, `facts` for programs.
  void Tell(const QString& event, const QString& text, QJsonObject facts = {});
  /// The same for a status line. A line of progress on the same screen shows it anyway.
  void TellStatus(const QString& text, QJsonObject facts);
  /// A line for people alone.
  void Explain(const QString& text);

  /// On the standard error output, so that the standard output can go elsewhere; an empty one takes the line
  /// away.
  void ShowProgress(const QString& line);

  double Seconds() const { return static_cast<double>(clock_.nsecsElapsed()) / 1e9; }
  /// Whether all could be written so far. Who went away or a full disk does not stop a run.
  bool Whole() const { return whole_; }

 private:
  void Write(const QByteArray& line);

  Form form_;
  bool progress_;  ///< there is a terminal for it
  bool sameScreen_;
  bool whole_ = true;
  QString shown_;  ///< the line of progress
  QElapsedTimer clock_;
};

}  // namespace quillon
