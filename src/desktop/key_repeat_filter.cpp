#include "desktop/key_repeat_filter.h"

#include <QKeyEvent>

namespace quillon {
namespace {

bool Presses(const QKeyEvent& event) {
  const int key = event.key();
  return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space || key == Qt::Key_Escape ||
         event.modifiers().testFlag(Qt::AltModifier);
}

}  // namespace

bool KeyRepeatFilter::eventFilter(QObject* watched, QEvent* event) {
  if (!watched->isWindowType()) return false;  // a window has seen it before its widgets do
  auto* key = dynamic_cast<QKeyEvent*>(event);
  if (key == nullptr) return false;
  if (event->type() == QEvent::KeyRelease) {
    if (!key->isAutoRepeat()) released_[key->key()] = key->timestamp();
    return Presses(*key) && key->isAutoRepeat();
  }
  if (!Presses(*key) || !Repeats(*key)) return false;
  event->accept();  // no shortcut takes it either
  return true;
}

bool KeyRepeatFilter::Repeats(const QKeyEvent& press) const {
  const quint64 released = released_.value(press.key());
  return press.isAutoRepeat() || (released != 0 && press.timestamp() == released);
}

}  // namespace quillon
