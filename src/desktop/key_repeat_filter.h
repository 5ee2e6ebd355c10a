#pragma once

#include <QHash>
#include <QObject>

class QKeyEvent;

namespace quillon {

/// Suppresses repeated events of held keys: Return, Enter, Space, Esc, letters with Alt. Install it on the
/// application.
///
/// Problem: Return is held down in the file dialog. The dialog closes, the repeated Return presses the button
/// that now has the focus, and the tool erases controllers.
///
/// Cause: the desktop repeats a held key as releases and presses. Qt marks these with isAutoRepeat, except
/// when it reads a release before the next press has arrived. Both then have the same time stamp.
class KeyRepeatFilter final : public QObject {
 public:
  using QObject::QObject;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool Repeats(const QKeyEvent& press) const;

  QHash<int, quint64> released_;  // time stamp of each key's last release
};

}  // namespace quillon
