#include "desktop/desktop_desk.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>
#include <QStringList>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <chrono>

#include "desktop/form_window.h"

namespace quillon {
namespace {

/// Boxes belong to the active window; what a progress window owned would go with it.
QWidget* OwnerWindow(const DesktopScreen& screen) {
  QWidget* active = QApplication::activeWindow();
  return active != nullptr && active != screen.OpenDialog() ? active : screen.MainWindow();
}

/// A box whose window can be made before it is shown. (`winId` would give every widget of the owner a
/// window.)
struct Box final : QMessageBox {
  using QMessageBox::QMessageBox;
  using QWidget::create;
};

/// Where a box of that size covers nothing of `dialog`: below it, or above it where the screen ends before.
QPoint PlaceBeside(const QWidget& dialog, const QSize& size) {
  constexpr int kTitleBar = 40;  // pixels, the box's and some room
  const QRect screen = dialog.screen()->availableGeometry();
  const QRect covered = dialog.geometry();
  const int below = covered.bottom() + kTitleBar;
  const bool fits = below + size.height() <= screen.bottom();
  return {std::max(screen.left(), std::min(covered.left(), screen.right() - size.width())),
          fits ? below : covered.top() - kTitleBar - size.height()};
}

/// Puts `box` beside `dialog`, and makes that a child of it meanwhile: a modal window leaves its own children
/// the mouse and the keyboard.
class BesideDialog {
 public:
  BesideDialog(Box& box, QWidget* dialog) : dialog_(dialog != nullptr ? dialog->windowHandle() : nullptr) {
    if (dialog_ == nullptr) return;
    box.create();
    owner_ = dialog_->transientParent();
    dialog_->setTransientParent(box.windowHandle());
    box.adjustSize();
    box.move(PlaceBeside(*dialog, box.size()));
  }
  BesideDialog(const BesideDialog&) = delete;
  BesideDialog& operator=(const BesideDialog&) = delete;
  ~BesideDialog() {
    if (dialog_ != nullptr) dialog_->setTransientParent(owner_);
  }

 private:
  QWindow* dialog_;
  QWindow* owner_ = nullptr;
};

QString WithLineBreaks(const std::string& text) {
  QString shown = QString::fromUtf8(text);
  return shown.replace("\r\n", "\n").replace('\r', '\n');
}

/// "Description (*.ext)|*.ext" in the words of the file dialog: "Description (*.ext)".
QString NameFilter(const std::string& filter) {
  const QStringList parts = QString::fromUtf8(filter).split('|');
  const QString description = parts.front().section('(', 0, 0).trimmed();
  return description + " (" + parts.back() + ")";
}

}  // namespace

DesktopDesk::DesktopDesk(const DesktopScreen& screen, const std::string& folder) : screen_(screen) {
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(folder));
}

void DesktopDesk::ShowBox(const std::string& text, const std::string& title, BoxKind kind) {
  const bool failure = kind == BoxKind::kRunError;
  const auto icon = failure ? QMessageBox::Warning : QMessageBox::Information;
  const QString shown = WithLineBreaks(text);
  Box box(icon, QString::fromUtf8(title), shown, QMessageBox::Ok, OwnerWindow(screen_));
  box.setTextFormat(Qt::PlainText);
  box.setWindowModality(Qt::ApplicationModal);
  if (!failure) {
    box.exec();
    return;
  }
  const BesideDialog besideDialog(box, screen_.OpenDialog());
  runError_ = &box;
  box.exec();
  runError_ = nullptr;
}

void DesktopDesk::AnswerBox() {
  if (runError_ != nullptr) runError_->accept();
}

void DesktopDesk::Beep() { QApplication::beep(); }

void DesktopDesk::CallOperator() {
  constexpr std::chrono::milliseconds kFocusMoves(300);  // after a window that had it went
  QWidget* window = screen_.MainWindow();
  QTimer::singleShot(kFocusMoves, window, [window] {
    if (QGuiApplication::applicationState() == Qt::ApplicationActive) return;
    QApplication::alert(window);
    // On X11 Qt would keep that to itself until it has something else to send. A title goes out at once.
    window->windowHandle()->setTitle(window->windowTitle());
  });
}

std::string DesktopDesk::ChooseFile(const std::string& title, const std::string& filter) {
  QFileDialog dialog(OwnerWindow(screen_), QString::fromUtf8(title));
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setNameFilter(NameFilter(filter));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return "";
  const QString name = QDir::toNativeSeparators(dialog.selectedFiles().front());
  return name.toStdString();  // UTF-8, as names are on every system
}

}  // namespace quillon
