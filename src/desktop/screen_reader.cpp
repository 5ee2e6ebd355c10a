#include "desktop/screen_reader.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QLabel>

#include "desktop/form_window.h"
#include "desktop/picture_widgets.h"

namespace quillon::screen_reader {
namespace {

bool IsStatusLine(const QLabel& label) {
  const auto* window = dynamic_cast<FormWindow*>(label.window());
  return window != nullptr && window->TheForm().BorderStyle() == Form::Border::kDialog;
}

QAccessibleInterface* Describe(const QString&, QObject* object) {
  if (auto* picture = dynamic_cast<PictureWidget*>(object)) {
    return new QAccessibleWidget(picture, QAccessible::Graphic);
  }
  auto* label = qobject_cast<QLabel*>(object);
  const bool statusLine = label != nullptr && IsStatusLine(*label);
  return statusLine ? new QAccessibleWidget(label, QAccessible::Notification) : nullptr;
}

}  // namespace

void Install() { QAccessible::installFactory(&Describe); }

void TextChanged(QLabel& label) {
  if (!QAccessible::isActive() || !IsStatusLine(label)) return;
  label.setAccessibleName(label.text());
  // A notification is read when it appears. For the reader each new text appears anew.
  QAccessibleEvent appears(&label, QAccessible::ObjectShow);
  QAccessible::updateAccessibility(&appears);
}

}  // namespace quillon::screen_reader
