// Places, raises and hides the windows of forms, and handles the keys and the dropped files of a whole
// window. There are two kinds of windows:
//
//     ordinary window   raised with the keyboard focus, unless another program is active
//     dialog            the progress window of a run. It stays above the other windows of the tool, so that
//                       Cancel can always be pressed. It never gets the keyboard focus, because it is opened
//                       for each controller, and it does not cover other programs.
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
#include <QMouseEvent>
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

/// The path of the dragged file; empty unless exactly one file is dragged.
QString DraggedFile(const QDropEvent& drag) {
  const QList<QUrl> urls = drag.mimeData()->urls();
  const QString path = urls.size() == 1 ? urls.front().toLocalFile() : QString();
  return QFileInfo(path).isDir() ? QString() : path;
}

QSize SizeOf(const Form& form) { return QSize(Pixels(form.Width()), Pixels(form.Height())); }

bool IsDialog(const FormWindow& window) { return window.GetForm().BorderStyle() == Form::Border::kDialog; }

/// The windows whose forms are shown.
QList<FormWindow*> ShownWindows() {
  QList<FormWindow*> shown;
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* window = dynamic_cast<FormWindow*>(top);
    if (window != nullptr && window->GetForm().Visible()) shown.push_back(window);
  }
  return shown;
}

/// The frame that the desktop draws around a window. Qt knows it only after the window was shown. Until then
/// the frame of another window is used.
QMargins FrameOf(const FormWindow& window) {
  const QMargins own = window.windowHandle()->frameMargins();
  if (!own.isNull() || IsDialog(window)) return own;
  for (const FormWindow* other : ShownWindows()) {
    if (!IsDialog(*other) && other->isVisible()) return other->windowHandle()->frameMargins();
  }
  return own;
}

bool ToolIsActive() { return QGuiApplication::applicationState() == Qt::ApplicationActive; }

void RaiseDialogs() {
  for (FormWindow* window : ShownWindows()) {
    if (IsDialog(*window) && ToolIsActive()) window->raise();
  }
}

void ClosePopups() {
  while (QWidget* popup = QApplication::activePopupWidget()) popup->close();
}

/// Draws a part of the edge of a dialog: some desktops draw none around a window without a title bar.
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
  if (form.Caption().empty()) setAccessibleName(objectName());  // for screen readers
  resize(SizeOf(form));
  if (form.BorderStyle() != Form::Border::kSizable) setFixedSize(SizeOf(form));
  const bool dialog = IsDialog(*this);
  views_ = DrawControls(form, dialog ? this : AddScrolledContents());
  if (dialog) {
    DrawEdge();
    // Keys that are typed in another window must not go to a dialog that opens meanwhile.
    setAttribute(Qt::WA_ShowWithoutActivating);
  }
  setAcceptDrops(form.FileDropped != nullptr);
  RefreshCaption();
  RefreshMousePointer();
  create();
  // A dialog also filters the events of open menus and lists, see HandlePressFromPopup.
  (dialog ? static_cast<QObject*>(qApp) : windowHandle())->installEventFilter(this);
  // X11 keeps a dialog above its owner only, but one without an owner above all windows of the program.
  if (dialog && QGuiApplication::platformName() == "xcb") windowHandle()->setTransientParent(nullptr);
}

/// Returns the parent of the controls. It has scroll bars if the screen is smaller than the form.
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
  if (IsDialog(*this)) {
    RaiseDeferred();
  } else {
    BringToFront();
  }
}

/// Shows the window in the middle of its owner or of the screen, with its whole frame visible.
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
  // `move` ignores a frame that Qt does not know yet.
  setGeometry(QRect(outer.topLeft() + QPoint(frame.left(), frame.top()), size));
  show();
}

/// The size of the form, at most `available`. A form that is larger gets scroll bars.
QSize FormWindow::SizeWithin(QSize available) const {
  const QSize form = SizeOf(form_);
  const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
  const int verticalBar = form.height() > available.height() ? bar : 0;
  const int horizontalBar = form.width() > available.width() ? bar : 0;
  return (form + QSize(verticalBar, horizontalBar)).boundedTo(available);
}

/// Raises the window and gives it the keyboard focus. While another program is active this is deferred, so
/// that the tool does not cover it.
void FormWindow::BringToFront() {
  if (!ToolIsActive()) {
    connect(
        qApp, &QGuiApplication::applicationStateChanged, this,
        [this] {
          if (form_.Visible()) BringToFront();
        },
        Qt::SingleShotConnection);
    return;
  }
  setWindowState(windowState() & ~Qt::WindowMinimized);
  raise();
  activateWindow();
}

/// Raises a dialog without changing the keyboard focus, at most once for each refresh of the screen.
void FormWindow::RaiseDeferred() {
  if (std::exchange(raisePending_, true)) return;
  deferred_paint::Add(*this, [this] {
    raisePending_ = false;
    if (ToolIsActive()) raise();
  });
}

void FormWindow::Hide() {
  if (!IsDialog(*this)) return hide();
  // A run hides `Message` after each controller and shows it again at once. If the window really disappeared,
  // a click on Cancel could be lost, or reach the window below. So hiding is deferred.
  deferred_paint::Add(*this, [this] {
    if (!form_.Visible()) hide();
  });
}

void FormWindow::RefreshCaption() { setWindowTitle(QString::fromUtf8(form_.Caption())); }

void FormWindow::RefreshMousePointer() {
  const bool busy = form_.Pointer() == Form::MousePointer::kHourglass;
  if (busy == (cursor().shape() == Qt::WaitCursor)) return;
  setCursor(busy ? Qt::WaitCursor : Qt::ArrowCursor);
  // A text box has its own pointer.
  for (QLineEdit* box : findChildren<QLineEdit*>()) {
    box->setCursor(busy ? Qt::WaitCursor : box->isReadOnly() ? Qt::ArrowCursor : Qt::IBeamCursor);
  }
}

void FormWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  form_.Close();
}

/// Esc in any window closes the open dialog, because the dialog does not have the keyboard focus.
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
  // Deferred: a box about the file would block the program from which it was dragged.
  QTimer::singleShot(0, this, [this, path] { form_.FileDropped(path); });
}

void FormWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::ActivationChange && isActiveWindow() && !IsDialog(*this)) RaiseDialogs();
}

/// Problem: while a menu or list is open, X11 sends it all mouse events, also a click on Cancel in this
/// dialog. Remedy: such a click closes the menu or list and is sent to the dialog. Returns whether `press`
/// was one.
bool FormWindow::HandlePressFromPopup(QObject* receiver, const QMouseEvent& press) {
  const auto* popup = qobject_cast<QWindow*>(receiver);
  const QPoint position = press.globalPosition().toPoint();
  if (popup == nullptr || popup->type() != Qt::Popup || popup->geometry().contains(position) ||
      !isVisible() || !geometry().contains(position)) {
    return false;
  }
  ClosePopups();
  QMouseEvent own(press.type(), mapFromGlobal(press.globalPosition()), press.globalPosition(), press.button(),
                  press.buttons(), press.modifiers());
  QCoreApplication::sendEvent(windowHandle(), &own);
  return true;
}

bool FormWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched != windowHandle()) {
    return IsDialog(*this) && event->type() == QEvent::MouseButtonPress &&
           HandlePressFromPopup(watched, *static_cast<QMouseEvent*>(event));
  }
  switch (event->type()) {
    case QEvent::Expose:
      // The icon is loaded after the first painting, so that it does not delay the window.
      if (QApplication::windowIcon().isNull()) QTimer::singleShot(0, this, &SetWindowIcon);
      return false;
    case QEvent::MouseButtonPress:
      // An open menu or list would consume the click on Cancel. A click on another window raises that window,
      // so the dialog must be raised again.
      if (IsDialog(*this)) {
        ClosePopups();
      } else {
        RaiseDialogs();
      }
      return false;
    case QEvent::KeyPress:
      return HandleKey(*static_cast<QKeyEvent*>(event));
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

/// Handles the keys of the whole window. Returns whether the key was one of them.
bool FormWindow::HandleKey(const QKeyEvent& key) {
  if (key.matches(QKeySequence::Copy)) return CopyText();
  if (key.key() != Qt::Key_F1) return false;
  OpenManual();
  return true;
}

/// Copies the text of the form. Returns false if it has none, or if text in a box is selected.
bool FormWindow::CopyText() const {
  const auto* box = qobject_cast<QLineEdit*>(focusWidget());
  if (!form_.CopyText || (box != nullptr && box->hasSelectedText())) return false;
  const std::string text = form_.CopyText();
  if (!text.empty()) QGuiApplication::clipboard()->setText(QString::fromUtf8(text));
  return true;
}

DesktopScreen::~DesktopScreen() {
  // In reverse order: a dialog is destroyed before its owner.
  while (!windows_.empty()) windows_.pop_back();
}

FormWindow* DesktopScreen::OpenDialog() const {
  for (const auto& window : windows_) {
    const Form& form = window->GetForm();
    if (form.BorderStyle() == Form::Border::kDialog && form.Visible()) return window.get();
  }
  return nullptr;
}

void DesktopScreen::Draw(Form& form) {
  const auto owner = std::find_if(windows_.begin(), windows_.end(),
                                  [&](const auto& window) { return &window->GetForm() == form.Owner(); });
  windows_.push_back(std::make_unique<FormWindow>(form, owner == windows_.end() ? nullptr : owner->get()));
  form.AttachView(windows_.back().get());
}

}  // namespace quillon
