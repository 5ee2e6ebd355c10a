#include "desktop/form_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QScreen>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "desktop/house_look.h"
#include "desktop/late_work.h"

namespace quillon {
namespace {

Qt::WindowFlags FlagsOf(Form::Border border) {
  switch (border) {
    case Form::Border::kFixed:
      return Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
             Qt::WindowCloseButtonHint | Qt::MSWindowsFixedSizeDialogHint;
    case Form::Border::kSizable:
      return Qt::Window;
    case Form::Border::kDialog:
      return Qt::Dialog | Qt::CustomizeWindowHint | Qt::MSWindowsFixedSizeDialogHint;
  }
  return Qt::Window;
}

/// The one file that is dragged; empty when it is none, or a folder, or several.
QString DraggedFile(const QDropEvent& drag) {
  const QList<QUrl> urls = drag.mimeData()->urls();
  const QString path = urls.size() == 1 ? urls.front().toLocalFile() : QString();
  return QFileInfo(path).isDir() ? QString() : path;
}

QSize SizeOf(const Form& form) { return QSize(Pixels(form.Width()), Pixels(form.Height())); }

/// Thin lines around a dialog: not every desktop draws an edge where there is no title bar.
void AddEdge(QWidget* window, const QRect& line) {
  auto* edge = new QWidget(window);
  edge->setGeometry(line);
  edge->setBackgroundRole(QPalette::Mid);
  edge->setAutoFillBackground(true);
}

}  // namespace

FormWindow::FormWindow(Form& form, FormWindow* owner)
    : QWidget(owner, FlagsOf(form.BorderStyle())), form_(form) {
  setObjectName(QString::fromUtf8(form.Name()));
  if (form.Caption().empty()) setAccessibleName(objectName());  // a screen reader says where one is
  resize(SizeOf(form));
  views_ = DrawControls(form, this);
  FixSize();
  if (form.BorderStyle() == Form::Border::kDialog) {
    DrawEdge();
    // It opens in the middle of a run, for each controller anew: keys that are typed elsewhere are not for
    // it.
    setAttribute(Qt::WA_ShowWithoutActivating);
  }
  setAcceptDrops(form.FileDropped != nullptr);
  RefreshCaption();
  RefreshMousePointer();
  create();
  windowHandle()->installEventFilter(this);
}

void FormWindow::FixSize() {
  if (form_.BorderStyle() == Form::Border::kSizable) {
    const QRect drawn = childrenRect();
    setMinimumSize(drawn.right() + 1, drawn.bottom() + 1);
  } else {
    setFixedSize(SizeOf(form_));
  }
}

void FormWindow::DrawEdge() {
  AddEdge(this, QRect(0, 0, width(), 1));
  AddEdge(this, QRect(0, height() - 1, width(), 1));
  AddEdge(this, QRect(0, 0, 1, height()));
  AddEdge(this, QRect(width() - 1, 0, 1, height()));
}

void FormWindow::Show() {
  if (!isVisible()) {
    resize(SizeOf(form_));
    Centre();
    show();
  } else if (form_.BorderStyle() == Form::Border::kDialog) {
    if (!std::exchange(raisingLate_, true)) {
      late_work::Add(*this, [this] {
        raisingLate_ = false;
        raise();  // and leaves the keyboard where it is
      });
    }
  } else {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    raise();
    activateWindow();
  }
}

void FormWindow::Hide() {
  if (form_.BorderStyle() != Form::Border::kDialog) return hide();
  // A run unloads `Message` after each controller and shows it again at once. A window that went meanwhile
  // would lose a press on Cancel that is not released yet, and lead the next click to what lies below.
  late_work::Add(*this, [this] {
    if (!form_.Visible()) hide();
  });
}

void FormWindow::Centre() {
  const QWidget* owner = parentWidget();
  const QRect around = owner != nullptr && owner->isVisible()
                           ? owner->geometry()
                           : QGuiApplication::primaryScreen()->availableGeometry();
  move(around.center() - rect().center());
}

void FormWindow::RefreshCaption() { setWindowTitle(QString::fromUtf8(form_.Caption())); }

void FormWindow::RefreshMousePointer() {
  const bool busy = form_.Pointer() == Form::MousePointer::kHourglass;
  if (busy == (cursor().shape() == Qt::WaitCursor)) return;
  setCursor(busy ? Qt::WaitCursor : Qt::ArrowCursor);
  // A text box has a pointer of its own, which would hide the window's.
  for (QLineEdit* box : findChildren<QLineEdit*>()) {
    box->setCursor(busy ? Qt::WaitCursor : box->isReadOnly() ? Qt::ArrowCursor : Qt::IBeamCursor);
  }
}

void FormWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  form_.Close();
}

/// Esc closes the dialog that is open, in whichever window it is pressed: the dialog opened without the
/// keyboard.
void FormWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
  for (QWidget* window : QApplication::topLevelWidgets()) {
    auto* other = dynamic_cast<FormWindow*>(window);
    if (other != nullptr && other->form_.BorderStyle() == Form::Border::kDialog && other->form_.Visible())
      other->form_.Close();
  }
}

void FormWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!DraggedFile(*event).isEmpty()) event->acceptProposedAction();
}

void FormWindow::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  const std::string path = QDir::toNativeSeparators(DraggedFile(*event)).toStdString();
  // Later: a box about the file must not hold the program that it was dragged from.
  QTimer::singleShot(0, this, [this, path] { form_.FileDropped(path); });
}

void FormWindow::paintEvent(QPaintEvent* event) {
  QWidget::paintEvent(event);
  // The icon is drawn after the first painting, so that the window need not wait for it.
  if (QApplication::windowIcon().isNull()) QTimer::singleShot(0, this, &GiveWindowIcon);
}

bool FormWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched == windowHandle() && event->type() == QEvent::KeyRelease) {
    const auto* key = static_cast<QKeyEvent*>(event);
    if (!key->isAutoRepeat()) {
      form_.ReleaseKey(key->key() == Qt::Key_F12 ? Form::Key::kF12 : Form::Key::kOther,
                       key->modifiers().testFlag(Qt::ShiftModifier));
    }
  }
  return QWidget::eventFilter(watched, event);
}

DesktopScreen::~DesktopScreen() {
  // From the last: the window of a dialog goes before its owner's.
  while (!windows_.empty()) windows_.pop_back();
}

FormWindow* DesktopScreen::OpenDialog() const {
  for (const auto& window : windows_) {
    const Form& form = window->TheForm();
    if (form.BorderStyle() == Form::Border::kDialog && form.Visible()) return window.get();
  }
  return nullptr;
}

void DesktopScreen::Draw(Form& form) {
  const auto owner = std::find_if(windows_.begin(), windows_.end(),
                                  [&](const auto& window) { return &window->TheForm() == form.Owner(); });
  windows_.push_back(std::make_unique<FormWindow>(form, owner == windows_.end() ? nullptr : owner->get()));
  form.AttachView(windows_.back().get());
}

}  // namespace quillon
