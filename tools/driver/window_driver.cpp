// Operates the windows of this process on behalf of an operator, for tests and quillon-unattended. A control
// is found by its accessible name: Find<QCheckBox>("Quillon", "Prot 3"). Boxes and file dialogs block the
// code that opened them until they are closed. So a timer looks for them every 20 ms, and answers them.
#include "driver/window_driver.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QEventLoop>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <utility>

namespace quillon {
namespace {

constexpr int kLookEvery = 20;  // milliseconds

const QString kMainWindow = "Quillon";
const QString kInfoWindow = "Info";
const QString kProgressWindow = "Message";
const QString kStatusLabel = "Label1";  // the status line of the progress window

[[noreturn]] void ThrowError(const QString& reason) { throw std::runtime_error(reason.toStdString()); }

/// The dialog of this kind that is shown, or nullptr.
template <class Dialog>
Dialog* VisibleDialog() {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* dialog = qobject_cast<Dialog*>(top);
    if (dialog != nullptr && dialog->isVisible()) return dialog;
  }
  return nullptr;
}

}  // namespace

WindowDriver::WindowDriver() {
  // Qt's own file dialog is used, because that of the desktop is not a widget of this process.
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  // Problem: Look() can open a dialog and wait for its end, and a timer does not fire again before its slot
  // has returned. Remedy: a queued connection, with which the slot returns at once.
  QObject::connect(
      &watch_, &QTimer::timeout, this, [this] { Look(); }, Qt::QueuedConnection);
  watch_.start(kLookEvery);
  QApplication::instance()->installEventFilter(this);
}

QWidget* WindowDriver::Window(const QString& name) {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top->objectName() == name) return top;
  }
  return nullptr;
}

template <class Widget>
Widget* WindowDriver::Find(const QString& window, const QString& name) {
  if (const QWidget* top = Window(window)) {
    for (Widget* child : top->findChildren<Widget*>()) {
      if (child->accessibleName() == name) return child;
    }
  }
  ThrowError("there is no \"" + name + "\" in the window " + window);
}

void WindowDriver::Press(const QString& window, const QString& name) {
  Click(window, name);
  if (presses_ == 0) Settle();
}

void WindowDriver::Click(const QString& window, const QString& name) {
  auto* button = Find<QAbstractButton>(window, name);
  if (!button->isEnabled()) ThrowError("the button \"" + name + "\" can't be pressed");
  ++presses_;
  button->click();
  --presses_;
}

void WindowDriver::StopLooking() {
  watch_.stop();
  QApplication::instance()->removeEventFilter(this);
}

/// Handles events for a little longer than a screen needs to show the effect of a click.
void WindowDriver::Settle() {
  QEventLoop loop;
  QTimer::singleShot(25, &loop, &QEventLoop::quit);
  loop.exec();
}

void WindowDriver::Tick(const QString& name, bool ticked) {
  auto* box = Find<QCheckBox>(kMainWindow, name);
  if (box->isChecked() != ticked) box->click();
}

void WindowDriver::Type(const QString& name, const QString& text) {
  Find<QLineEdit>(kMainWindow, name)->setText(text);
}

void WindowDriver::Select(const QString& name, const QString& item) {
  auto* list = Find<QComboBox>(kMainWindow, name);
  const int index = list->findText(item);
  if (index < 0) ThrowError("the list \"" + name + "\" has no item \"" + item + "\"");
  list->setCurrentIndex(index);
}

void WindowDriver::ChooseFile(const QString& path) {
  fileToChoose_ = path;
  fileRefused_ = false;
  Press(kMainWindow, "Browse ...");
  if (!std::exchange(fileToChoose_, "").isEmpty()) ThrowError("no file dialog came for " + path);
  if (fileRefused_) ThrowError("the file dialog does not open " + path);
}

QString WindowDriver::Text(const QString& window, const QString& name) const {
  const auto* widget = Find<QWidget>(window, name);
  if (!widget->isVisible()) return "";
  return widget->property(qobject_cast<const QLineEdit*>(widget) ? "text" : "currentText").toString();
}

bool WindowDriver::Ticked(const QString& name) const {
  return Find<QCheckBox>(kMainWindow, name)->isChecked();
}

bool WindowDriver::Enabled(const QString& window, const QString& name) const {
  return Find<QWidget>(window, name)->isEnabled();
}

QString WindowDriver::ToolTip(const QString& window, const QString& name) const {
  const auto* widget = Find<QWidget>(window, name);
  return widget->isVisible() ? widget->toolTip() : QString();
}

bool WindowDriver::Shows(const QString& window) {
  const QWidget* widget = Window(window);
  return widget != nullptr && widget->isVisible();
}

QString WindowDriver::Status() const {
  return Shows(kProgressWindow) ? Window(kProgressWindow)->findChild<QLabel*>(kStatusLabel)->text()
                                : QString();
}

WindowDriver::Row WindowDriver::RowOf(int controller) const {
  const QString number = QString::number(controller);
  const auto* version = Find<QLineEdit>(kInfoWindow, "Version " + number);
  const auto* checksum = Find<QLineEdit>(kInfoWindow, "Cheksum " + number);
  return {version->text(), checksum->text(), version->palette().color(QPalette::Text),
          checksum->palette().color(QPalette::Text), checksum->palette().color(QPalette::Base)};
}

bool WindowDriver::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Paint && watched->objectName() == kStatusLabel) {
    const QString line = Status();
    if (!line.isEmpty() && line != std::exchange(status_, line)) OnStatus(line);
  }
  return false;
}

void WindowDriver::Look() {
  if (auto* box = VisibleDialog<QMessageBox>()) {
    AnswerBox(*box);
  } else if (auto* dialog = VisibleDialog<QFileDialog>()) {
    ServeFileDialog(*dialog);
  }
  OnLook();
}

void WindowDriver::AnswerBox(QMessageBox& box) {
  auto answer = QMessageBox::Ok;
  if (box.button(QMessageBox::Yes) != nullptr) {
    answer = OnQuestion(box) ? QMessageBox::Yes : QMessageBox::No;
  } else {
    OnBox(box);
  }
  box.button(answer)->click();
}

/// Types the path into the dialog and presses Open. Cancels a dialog that refuses the path, or that
/// ChooseFile has not opened.
void WindowDriver::ServeFileDialog(QFileDialog& dialog) {
  const QString path = std::exchange(fileToChoose_, "");
  if (!path.isEmpty()) {
    dialog.findChild<QLineEdit*>("fileNameEdit")->setText(path);
    dialog.findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Open)->click();
    fileRefused_ = dialog.result() != QDialog::Accepted;
  }
  if (dialog.isVisible()) dialog.reject();
}

}  // namespace quillon
