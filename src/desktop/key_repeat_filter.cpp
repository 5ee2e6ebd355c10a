// Drops the repeated events of a held key on their way to a window, so that one press of Return has one
// effect. The header describes the problem and how a repetition is recognised.
#include "desktop/key_repeat_filter.h"

#include <QKeyEvent>

namespace quillon {
namespace {

bool IsFiltered(const QKeyEvent& event) {
  const int key = event.key();
  return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space || key == Qt::Key_Escape ||
         event.modifiers().testFlag(Qt::AltModifier);
}

}  // namespace

bool KeyRepeatFilter::eventFilter(QObject* watched, QEvent* event) {
  if (!watched->isWindowType()) return false;  // widgets receive a key after their window
  auto* key = dynamic_cast<QKeyEvent*>(event);
  if (key == nullptr) return false;
  if (event->type() == QEvent::KeyRelease) {
    if (!key->isAutoRepeat()) released_[key->key()] = key->timestamp();
    return IsFiltered(*key) && key->isAutoRepeat();
  }
  if (!IsFiltered(*key) || !Repeats(*key)) return false;
  event->accept();  // otherwise Qt tries it as a shortcut
  return true;
}

bool KeyRepeatFilter::Repeats(const QKeyEvent& press) const {
  const quint64 released = released_.value(press.key());
  return press.isAutoRepeat() || (released != 0 && press.timestamp() == released);
}

}  // namespace quillon
