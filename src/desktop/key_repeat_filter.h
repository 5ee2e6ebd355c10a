#pragma once

#include <QHash>
#include <QObject>

class QKeyEvent;

namespace quillon {

/// Makes a key that is held down press once, however long it is held: Return, Enter, Space and Esc, and
/// letters with Alt. Install it on the application: a key can be held in a dialog that closes meanwhile, and
/// what gets the keyboard then must not be pressed. Choosing a file by Return would start to erase
/// controllers.
///
/// The desktop repeats a held key as releases and presses. Qt marks these as repeats, but when it reads a
/// release before the press that follows has arrived, both look fresh. They still carry one time stamp.
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
