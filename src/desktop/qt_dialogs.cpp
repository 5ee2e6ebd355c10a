// Shows message boxes and the file dialog. Most classes here are workarounds for Qt and for window managers:
//
//     Box             a box as wide as its title, which does not take the keyboard from another program
//     ShownInactive   ... not even on X11
//     BesideDialog    a box that leaves the progress window visible and its Cancel button usable
//     FileDialog      a file dialog that opens a typed path
#include "desktop/qt_dialogs.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>
#include <QStringList>
#include <QTimer>
#include <QTreeView>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <optional>

#include "desktop/form_window.h"
#include "desktop/key_pause.h"

namespace quillon {
namespace {

/// The owner of a box: the active window. The progress window is never the owner, because it is hidden when
/// the run ends, and would hide the box with it. Then the main window is the owner.
QWidget* OwnerWindow(const DesktopScreen& screen) {
  QWidget* active = QApplication::activeWindow();
  const auto* window = dynamic_cast<FormWindow*>(active);
  const bool progress = window != nullptr && window->GetForm().BorderStyle() == Form::Border::kDialog;
  return active != nullptr && !progress ? active : screen.MainWindow();
}

bool ToolIsActive() { return QGuiApplication::applicationState() == Qt::ApplicationActive; }

/// Requests that the desktop marks the window, for example in the task bar.
void AskForAttention(QWidget* window) {
  QApplication::alert(window);
  // Problem: Qt sends the alert on X11 only with the next request. Remedy: setting the title sends one.
  window->windowHandle()->setTitle(window->windowTitle());
}

QString WithLineBreaks(const std::string& text) {
  QString shown = QString::fromUtf8(text);
  return shown.replace("\r\n", "\n").replace('\r', '\n');
}

/// Makes a message box at least as wide as its title. Qt makes it as wide as its text.
void FitTitle(QMessageBox& box) {
  constexpr int kFrameButtons = 80;  // pixels beside the title
  const int width =
      QFontMetrics(QApplication::font("QMdiSubWindowTitleBar")).horizontalAdvance(box.windowTitle());
  auto* grid = qobject_cast<QGridLayout*>(box.layout());
  grid->addItem(new QSpacerItem(width + kFrameButtons, 0), grid->rowCount(), 0, 1, grid->columnCount());
}

/// A message box with a public `create`, which creates its window before it is shown. The public function
/// `winId` would also create a window for every widget of the owner.
struct Box final : QMessageBox {
  Box(Icon icon, const std::string& title, const std::string& text, StandardButtons buttons, QWidget* owner)
      : QMessageBox(icon, QString::fromUtf8(title), WithLineBreaks(text), buttons, owner) {
    setTextFormat(Qt::PlainText);
    setWindowModality(Qt::ApplicationModal);
    FitTitle(*this);
    // A box does not take the keyboard from another program, except at start. Qt reads the attribute when it
    // creates the window.
    setAttribute(Qt::WA_ShowWithoutActivating, owner != nullptr && !ToolIsActive());
  }
  using QWidget::create;
};

/// Shows a box without activating it. Problem: Qt on X11 activates the window that it shows if that is the
/// frontmost modal one, in spite of WA_ShowWithoutActivating. Remedy: another modal window, which is never on
/// the screen, is the frontmost one at that moment.
class ShownInactive final : public QObject {
 public:
  explicit ShownInactive(Box& box) {
    front_.setAttribute(Qt::WA_DontShowOnScreen);
    front_.setWindowModality(Qt::ApplicationModal);
    front_.winId();  // creates its window now, because Qt iterates over the windows while it blocks them
    box.parentWidget()->windowHandle()->installEventFilter(this);
  }

 protected:
  /// The owner of a modal box is blocked immediately before the box is shown.
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::WindowBlocked) {
      front_.show();
      QTimer::singleShot(0, &front_, &QWidget::hide);
    }
    return false;
  }

 private:
  QWidget front_;
};

/// Shows a box until it is answered. Does not take the keyboard focus from another program.
int Answer(Box& box) {
  std::optional<ShownInactive> inactive;
  if (box.testAttribute(Qt::WA_ShowWithoutActivating)) {
    inactive.emplace(box);
    QTimer::singleShot(0, &box, [&box] { AskForAttention(&box); });
  }
  const int answer = box.exec();
  key_pause::Begin();  // a key that was meant for the box must not press a button of a window
  return answer;
}

/// A position for a box that does not cover `dialog`: below it, or above it near the end of the screen.
QPoint PlaceBeside(const QWidget& dialog, const QSize& size) {
  constexpr int kTitleBar = 40;  // pixels, with a margin
  const QRect screen = dialog.screen()->availableGeometry();
  const QRect covered = dialog.geometry();
  const int below = covered.bottom() + kTitleBar;
  const bool fits = below + size.height() <= screen.bottom();
  return {std::max(screen.left(), std::min(covered.left(), screen.right() - size.width())),
          fits ? below : covered.top() - kTitleBar - size.height()};
}

/// Places `box` beside the progress window `dialog`. Problem: a modal box disables all other windows except
/// its own children, and Cancel could not be pressed. Remedy: the progress window is a child of the box
/// meanwhile.
class BesideDialog final : public QObject {
 public:
  BesideDialog(Box& box, QWidget* dialog) : dialog_(dialog != nullptr ? dialog->windowHandle() : nullptr) {
    if (dialog_ == nullptr) return;
    box.create();
    box.windowHandle()->installEventFilter(this);
    owner_ = dialog_->transientParent();
    dialog_->setTransientParent(box.windowHandle());
    box.adjustSize();
    box.move(PlaceBeside(*dialog, box.size()));
  }
  ~BesideDialog() override {
    if (dialog_ != nullptr) dialog_->setTransientParent(owner_);
  }

 protected:
  /// Problem: a desktop with X11 brings a box to the front together with the box's owner, which then covers
  /// the progress window. Remedy: the progress window is raised again.
  bool eventFilter(QObject*, QEvent* event) override {
    switch (event->type()) {
      case QEvent::Expose:
      case QEvent::FocusIn:
      case QEvent::MouseButtonPress:
      case QEvent::Move:  // by its title bar
        if (ToolIsActive()) dialog_->raise();
        return false;
      default:
        return false;
    }
  }

 private:
  QWindow* dialog_;
  QWindow* owner_ = nullptr;
};

/// A file dialog that accepts a typed path. Problem: while a path is typed, Qt selects its folders in the
/// list. Open would then show the selected folder instead of the path. Remedy: the selection is cleared.
class FileDialog final : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;

 protected:
  void accept() override {
    const auto* name = findChild<QLineEdit*>("fileNameEdit");
    auto* files = findChild<QListView*>("listView");
    if (name != nullptr && files != nullptr && name->hasFocus()) files->clearSelection();
    QFileDialog::accept();
  }
};

/// Gives the column of file names all space that the other columns do not need.
void FitColumns(QFileDialog& dialog) {
  auto* files = dialog.findChild<QTreeView*>("treeView");
  if (files == nullptr) return;  // the desktop's own dialog
  files->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  files->header()->setSectionResizeMode(0, QHeaderView::Stretch);
}

/// Converts "Description (*.ext)|*.ext" to the form of Qt: "Description (*.ext)".
QString NameFilter(const std::string& filter) {
  const QStringList parts = QString::fromUtf8(filter).split('|');
  const QString description = parts.front().section('(', 0, 0).trimmed();
  return description + " (" + parts.back() + ")";
}

}  // namespace

QtDialogs::QtDialogs(const DesktopScreen& screen, const std::string& folder) : screen_(screen) {
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(folder));
}

void QtDialogs::ShowBox(const std::string& text, const std::string& title, BoxKind kind) {
  const bool failure = kind == BoxKind::kRunError;
  const auto icon = failure ? QMessageBox::Warning : QMessageBox::Information;
  Box box(icon, title, text, QMessageBox::Ok, OwnerWindow(screen_));
  if (!failure) {
    Answer(box);
    return;
  }
  const BesideDialog besideDialog(box, screen_.OpenDialog());
  runError_ = &box;
  Answer(box);
  runError_ = nullptr;
}

bool QtDialogs::Ask(const std::string& question, const std::string& title) {
  Box box(QMessageBox::Question, title, question, QMessageBox::Yes | QMessageBox::No, OwnerWindow(screen_));
  box.setDefaultButton(QMessageBox::No);
  return Answer(box) == QMessageBox::Yes;
}

void QtDialogs::AnswerBox() {
  if (runError_ != nullptr) runError_->accept();
}

void QtDialogs::Beep() { QApplication::beep(); }

void QtDialogs::RequestAttention() {
  key_pause::Begin();
  constexpr std::chrono::milliseconds kFocusChange(300);  // after a window is hidden
  QWidget* window = screen_.MainWindow();
  QTimer::singleShot(kFocusChange, window, [window] {
    if (!ToolIsActive()) AskForAttention(window);
  });
}

std::string QtDialogs::ChooseFile(const std::string& title, const std::string& filter) {
  FileDialog dialog(OwnerWindow(screen_), QString::fromUtf8(title));
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setNameFilter(NameFilter(filter));
  FitColumns(dialog);
  const int result = dialog.exec();
  key_pause::Begin();
  if (result != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return "";
  const QString name = QDir::toNativeSeparators(dialog.selectedFiles().front());
  return name.toStdString();
}

}  // namespace quillon
