// Reports to screen readers what Qt does not: which windows are dialogs, which widgets are pictures, and that
// the label of a dialog is a status line whose changes are to be read aloud.
#include "desktop/screen_reader.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QLabel>

#include "desktop/form_window.h"
#include "desktop/picture_widgets.h"

namespace quillon::screen_reader {
namespace {

bool IsDialog(const FormWindow& window) { return window.GetForm().BorderStyle() == Form::Border::kDialog; }

bool IsStatusLine(const QLabel& label) {
  const auto* window = dynamic_cast<FormWindow*>(label.window());
  return window != nullptr && IsDialog(*window);
}

/// Reported as a notification, since screen readers read those at once, without keyboard focus.
class StatusLine final : public QAccessibleWidget {
 public:
  explicit StatusLine(QLabel& label) : QAccessibleWidget(&label, QAccessible::Notification), label_(label) {}

  QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Name ? label_.text() : QAccessibleWidget::text(kind);
  }

 private:
  const QLabel& label_;
};

/// Returns nullptr for objects that Qt describes itself.
QAccessibleInterface* Describe(const QString&, QObject* object) {
  if (auto* window = dynamic_cast<FormWindow*>(object)) {
    return new QAccessibleWidget(window, IsDialog(*window) ? QAccessible::Dialog : QAccessible::Window);
  }
  if (auto* picture = dynamic_cast<PictureWidget*>(object)) {
    return new QAccessibleWidget(picture, QAccessible::Graphic);
  }
  auto* label = qobject_cast<QLabel*>(object);
  return label != nullptr && IsStatusLine(*label) ? new StatusLine(*label) : nullptr;
}

}  // namespace

void Install() { QAccessible::installFactory(&Describe); }

void TextChanged(QLabel& label) {
  if (!QAccessible::isActive() || label.text().isEmpty() || !IsStatusLine(label)) return;
  // Screen readers read a notification when it appears, so each new text is reported as a new notification.
  QAccessibleEvent appears(&label, QAccessible::ObjectShow);
  QAccessible::updateAccessibility(&appears);
}

}  // namespace quillon::screen_reader
