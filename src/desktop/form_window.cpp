#include "desktop/form_window.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "desktop/deferred_paint.h"
#include "desktop/manual.h"
#include "desktop/theme.h"

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

bool IsDialog(const FormWindow& window) { return window.TheForm().BorderStyle() == Form::Border::kDialog; }

/// The windows whose forms are shown.
QList<FormWindow*> ShownWindows() {
  QList<FormWindow*> shown;
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* window = dynamic_cast<FormWindow*>(top);
    if (window != nullptr && window->TheForm().Visible()) shown.push_back(window);
  }
  return shown;
}

/// What the desktop draws around a window with a title bar. A window's own frame is known after it was shown;
/// until then the frame of another one serves.
QMargins FrameOf(const FormWindow& window) {
  const QMargins own = window.windowHandle()->frameMargins();
  if (!own.isNull() || IsDialog(window)) return own;
  for (const FormWindow* other : ShownWindows()) {
    if (!IsDialog(*other) && other->isVisible()) return other->windowHandle()->frameMargins();
  }
  return own;
}

bool ToolIsActive() { return QGuiApplication::applicationState() == Qt::ApplicationActive; }

/// Cancel must never lie behind another window of the tool.
void RaiseDialogs() {
  for (FormWindow* window : ShownWindows()) {
    if (IsDialog(*window) && ToolIsActive()) window->raise();
  }
}

void ClosePopups() {
  while (QWidget* popup = QApplication::activePopupWidget()) popup->close();
}

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
  if (form.BorderStyle() != Form::Border::kSizable) setFixedSize(SizeOf(form));
  const bool dialog = IsDialog(*this);
  views_ = DrawControls(form, dialog ? this : AddScrolledContents());
  if (dialog) {
    DrawEdge();
    // It opens in the middle of a run, once for each controller: keys that are typed elsewhere are not for
    // it.
    setAttribute(Qt::WA_ShowWithoutActivating);
  }
  setAcceptDrops(form.FileDropped != nullptr);
  RefreshCaption();
  RefreshMousePointer();
  create();
  windowHandle()->installEventFilter(this);
  // Window managers of X11 keep a dialog above its owner, but not above the other windows of the program. A
  // dialog without an owner is kept above all of them.
  if (dialog && QGuiApplication::platformName() == "xcb") windowHandle()->setTransientParent(nullptr);
}

/// Returns the widget that holds the controls. It scrolls where the screen is smaller than the form.
QWidget* FormWindow::AddScrolledContents() {
  auto* contents = new QWidget;
  contents->resize(SizeOf(form_));
  auto* area = new QScrollArea(this);
  area->setFrameShape(QFrame::NoFrame);
  area->setFocusPolicy(Qt::NoFocus);
  area->setWidget(contents);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(area);
  return contents;
}

void FormWindow::DrawEdge() {
  AddEdge(this, QRect(0, 0, width(), 1));
  AddEdge(this, QRect(0, height() - 1, width(), 1));
  AddEdge(this, QRect(0, 0, 1, height()));
  AddEdge(this, QRect(width() - 1, 0, 1, height()));
}

void FormWindow::Show() {
  if (!isVisible()) return ShowInPlace();
  IsDialog(*this) ? RaiseLate() : ComeToFront();
}

/// Opens the window in the middle of its owner or of the screen, with its frame on the screen.
void FormWindow::ShowInPlace() {
  const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
  const QMargins frame = FrameOf(*this);
  setWindowState(Qt::WindowNoState);  // it may have been maximised when it was hidden
  const QSize size = SizeWithin(screen.marginsRemoved(frame).size());
  if (form_.BorderStyle() == Form::Border::kSizable) {
    resize(size);
  } else if (size != maximumSize()) {
    setFixedSize(size);
  }
  const QWidget* owner = parentWidget();
  QRect outer = QRect(QPoint(), size).marginsAdded(frame);
  outer.moveCenter((owner != nullptr && owner->isVisible() ? owner->frameGeometry() : screen).center());
  outer.moveTopLeft({std::max(outer.left(), screen.left()), std::max(outer.top(), screen.top())});
  // `move` would not count a frame that Qt does not know yet.
  setGeometry(QRect(outer.topLeft() + QPoint(frame.left(), frame.top()), size));
  show();
}

/// The form's size. A form that is larger than `room` gets less, and a scroll bar beside its contents.
QSize FormWindow::SizeWithin(QSize room) const {
  const QSize form = SizeOf(form_);
  const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
  const int forBarBeside = form.height() > room.height() ? bar : 0;
  const int forBarBelow = form.width() > room.width() ? bar : 0;
  return (form + QSize(forBarBeside, forBarBelow)).boundedTo(room);
}

/// Brings the window to the front of the tool's windows, and gives it the keyboard. While another program is
/// active this waits: the tool does not cover it.
void FormWindow::ComeToFront() {
  if (!ToolIsActive()) {
    connect(
        qApp, &QGuiApplication::applicationStateChanged, this,
        [this] {
          if (form_.Visible()) ComeToFront();
        },
        Qt::SingleShotConnection);
    return;
  }
  setWindowState(windowState() & ~Qt::WindowMinimized);
  raise();
  activateWindow();
}

/// Brings a dialog to the front, no more often than a screen shows it, and leaves the keyboard where it is.
void FormWindow::RaiseLate() {
  if (std::exchange(raisingLate_, true)) return;
  deferred_paint::Add(*this, [this] {
    raisingLate_ = false;
    if (ToolIsActive()) raise();
  });
}

void FormWindow::Hide() {
  if (!IsDialog(*this)) return hide();
  // A run unloads `Message` after each controller and shows it again at once. A window that went meanwhile
  // would lose a press on Cancel that is not released yet, and lead the next click to what lies below.
  deferred_paint::Add(*this, [this] {
    if (!form_.Visible()) hide();
  });
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
  for (FormWindow* window : ShownWindows()) {
    if (IsDialog(*window)) window->form_.Close();
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

void FormWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::ActivationChange && isActiveWindow() && !IsDialog(*this)) RaiseDialogs();
}

bool FormWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched != windowHandle()) return QWidget::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::Expose:
      // The icon is drawn after the first painting, so that the window need not wait for it.
      if (QApplication::windowIcon().isNull()) QTimer::singleShot(0, this, &SetWindowIcon);
      return false;
    case QEvent::MouseButtonPress:
      // An open menu or list would take the click, and Cancel would need another one. In other windows the
      // desktop brings what is clicked to the front, also a window that is active already.
      IsDialog(*this) ? ClosePopups() : RaiseDialogs();
      return false;
    case QEvent::KeyPress:
      return TakeKey(*static_cast<QKeyEvent*>(event));
    case QEvent::KeyRelease: {
      const auto& key = *static_cast<QKeyEvent*>(event);
      if (!key.isAutoRepeat()) {
        form_.ReleaseKey(key.key() == Qt::Key_F12 ? Form::Key::kF12 : Form::Key::kOther,
                         key.modifiers().testFlag(Qt::ShiftModifier));
      }
      return false;
    }
    default:
      return false;
  }
}

/// The keys that act on the window whichever control has the keyboard. True: the key was one of them.
bool FormWindow::TakeKey(const QKeyEvent& key) {
  if (key.matches(QKeySequence::Copy)) return CopyText();
  if (key.key() != Qt::Key_F1) return false;
  OpenManual();
  return true;
}

/// Copies what the form has to copy. False: it has nothing, or a text in a box is selected.
bool FormWindow::CopyText() const {
  const auto* box = qobject_cast<QLineEdit*>(focusWidget());
  if (!form_.CopyText || (box != nullptr && box->hasSelectedText())) return false;
  const std::string text = form_.CopyText();
  if (!text.empty()) QGuiApplication::clipboard()->setText(QString::fromUtf8(text));
  return true;
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
