// Implements widgets that Qt lacks, or that behave differently from those of Qt. The header has the reason of
// each:
//
//     PictureButton   a button with a picture above its caption
//     DropList        a list of ports, in which typed digits search for a number
//     TickBox         a check box from which the arrow keys move the focus to the next box
//     LineFrame       a frame with a caption
//     BarWidget       a thin progress bar
//     PictureWidget   a picture that can have a tool tip
#include "desktop/picture_widgets.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QListView>
#include <QPainter>
#include <QStyleOptionButton>
#include <QTextDocument>
#include <QTimer>
#include <QToolTip>
#include <algorithm>
#include <tuple>
#include <utility>

#include "desktop/key_pause.h"
#include "desktop/theme.h"

namespace quillon {
namespace {

constexpr int kMargin = 5;           // pixels between a button's edge and its contents
constexpr int kTightMargin = 1;      // the same above and below a caption without picture
constexpr int kGap = 3;              // pixels between picture and caption
constexpr int kCaptionIndent = 9;    // pixels from a frame's corner to its caption
constexpr double kCornerRadius = 3;  // pixels
constexpr double kDisabledOpacity = 0.35;
constexpr int kCaptionFlags = Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextWordWrap | Qt::TextShowMnemonic;
const QColor kFrameLine(176, 176, 176);

/// Whether a key press activates the button that has the focus.
bool ActivatesButton(const QEvent& keyPress) {
  const int key = static_cast<const QKeyEvent&>(keyPress).key();
  return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space;
}

/// A list in which typed digits search for the number in an item: "COM 33".
class NumberList final : public QListView {
 public:
  using QListView::QListView;

  void keyboardSearch(const QString& text) override {
    const bool digits = std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit(); });
    if (!digits || text.isEmpty()) return;
    const bool continues = typedAt_.isValid() && typedAt_.elapsed() < QApplication::keyboardInputInterval();
    typedAt_.start();
    if (!Select(continues ? typed_ + text : text)) Select(text);
  }

 private:
  /// Selects the first item whose number begins with `digits`. Returns false if there is none.
  bool Select(const QString& digits) {
    typed_ = digits;
    for (int row = 0; row < model()->rowCount(); ++row) {
      const QModelIndex item = model()->index(row, modelColumn());
      if (!item.data().toString().section(' ', -1).startsWith(digits)) continue;
      setCurrentIndex(item);
      return true;
    }
    return false;
  }

  QString typed_;
  QElapsedTimer typedAt_;
};

void DrawCentred(QPainter& painter, const QPixmap& pixmap, const QRect& area) {
  const QSize size = pixmap.deviceIndependentSize().toSize();
  painter.drawPixmap(area.center() - QRect(QPoint(), size).center(), pixmap);
}

}  // namespace

PictureButton::PictureButton(std::string picture, bool startsRun, QWidget* parent)
    : QPushButton(parent), picture_(std::move(picture)), startsRun_(startsRun) {}

bool PictureButton::event(QEvent* event) {
  const bool pressed =
      event->type() == QEvent::Shortcut || (event->type() == QEvent::KeyPress && ActivatesButton(*event));
  // A key that was meant for a box that has just closed must not start a run.
  if (startsRun_ && pressed && key_pause::Lasts()) return true;
  return QPushButton::event(event);
}

/// The area of picture and caption.
QRect PictureButton::ContentRect() const {
  const int vertical = picture_.empty() ? kTightMargin : kMargin;
  return rect().adjusted(kMargin, vertical, -kMargin, -vertical);
}

/// The area that the caption needs, in the middle of the button.
QRect PictureButton::CaptionRect() const {
  return fontMetrics().boundingRect(ContentRect(), kCaptionFlags, text());
}

void PictureButton::LoadPicture() {
  const QRect area = ContentRect().adjusted(0, 0, 0, -kGap - CaptionRect().height());
  pixmap_ = ScaledPicture(picture_, area.size(), devicePixelRatioF());
  update();
}

void PictureButton::paintEvent(QPaintEvent*) {
  // Loaded after the first painting, so that the picture does not delay the window.
  if (!picture_.empty() && !std::exchange(pictureRequested_, true))
    QTimer::singleShot(0, this, [this] { LoadPicture(); });
  QPainter painter(this);
  QStyleOptionButton option;
  initStyleOption(&option);
  option.text.clear();
  style()->drawControl(QStyle::CE_PushButton, &option, &painter, this);

  QRect area = ContentRect();
  const QRect caption = CaptionRect();
  if (!pixmap_.isNull()) {
    const QRect above = area.adjusted(0, 0, 0, -caption.height() - kGap);
    painter.setOpacity(isEnabled() ? 1.0 : kDisabledOpacity);
    DrawCentred(painter, pixmap_, above);
    painter.setOpacity(1.0);
  }
  if (!picture_.empty()) area.setTop(area.bottom() + 1 - caption.height());
  style()->drawItemText(&painter, area, kCaptionFlags, palette(), isEnabled(), text(), QPalette::ButtonText);
}

void DropList::showPopup() {
  for (int i = 0; noteOf && i < count(); ++i) {
    const Note note = noteOf(i);
    // Qt would interpret a text like "<...>" from an adapter as HTML.
    const bool looksLikeHtml = Qt::mightBeRichText(note.toolTip);
    setItemData(i, looksLikeHtml ? Qt::convertFromPlainText(note.toolTip) : note.toolTip, Qt::ToolTipRole);
    setItemData(i, note.toolTip, Qt::AccessibleDescriptionRole);
    const QVariant colour = note.faint ? palette().brush(QPalette::PlaceholderText) : QVariant();
    setItemData(i, colour, Qt::ForegroundRole);
  }
  SearchByNumber();
  QComboBox::showPopup();
}

void DropList::keyPressEvent(QKeyEvent* event) {
  SearchByNumber();
  QComboBox::keyPressEvent(event);
}

/// Creates the list when it is first needed, since it would delay the window.
void DropList::SearchByNumber() {
  if (!std::exchange(searchesByNumber_, true)) setView(new NumberList(this));
}

/// An arrow key moves the focus to the nearest box in its direction, if that is in the same row or column.
/// (dx, dy) is the direction. `ahead` is the distance of another box in this direction, `aside` the distance
/// across it.
void TickBox::keyPressEvent(QKeyEvent* event) {
  const int key = event->key();
  const int dx = (key == Qt::Key_Right) - (key == Qt::Key_Left);
  const int dy = (key == Qt::Key_Down) - (key == Qt::Key_Up);
  if (dx == 0 && dy == 0) return QCheckBox::keyPressEvent(event);
  QCheckBox* nearest = nullptr;
  int shortest = 0;
  for (QCheckBox* box : parentWidget()->findChildren<QCheckBox*>(Qt::FindDirectChildrenOnly)) {
    const QPoint distance = box->pos() - pos();
    const int ahead = distance.x() * dx + distance.y() * dy;
    const int aside = distance.x() * dy + distance.y() * dx;
    if (ahead <= 0 || aside != 0 || !box->isVisible() || !box->isEnabled()) continue;
    if (nearest == nullptr || ahead < shortest) std::tie(nearest, shortest) = std::tie(box, ahead);
  }
  if (nearest != nullptr) nearest->setFocus(Qt::TabFocusReason);
}

/// Draws the frame at half the height of the caption, and leaves it out behind the caption.
void LineFrame::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect caption(kCaptionIndent, 0, fontMetrics().horizontalAdvance(title()), fontMetrics().height());
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(kFrameLine);
  painter.setClipRegion(QRegion(rect()) - caption);
  const QRectF line = QRectF(rect()).adjusted(0.5, caption.height() / 2.0 + 0.5, -0.5, -0.5);
  painter.drawRoundedRect(line, kCornerRadius, kCornerRadius);
  painter.setClipping(false);
  style()->drawItemText(&painter, caption, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), title(),
                        QPalette::WindowText);
}

void BarWidget::SetShare(double share) {
  share_ = share;
  repaint();
}

void BarWidget::paintEvent(QPaintEvent*) {
  QRectF filled = rect();
  filled.setWidth(filled.width() * share_);
  QPainter(this).fillRect(filled, palette().highlight());
}

void PictureWidget::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  update();
  // Later: Qt hides tool tips at the end of each change of the focus.
  QTimer::singleShot(0, this, [this] {
    if (hasFocus()) QToolTip::showText(mapToGlobal(rect().bottomLeft()), toolTip(), this);
  });
}

void PictureWidget::paintEvent(QPaintEvent*) {
  if (pixmap_.isNull()) pixmap_ = ScaledPicture(picture_, size(), devicePixelRatioF());
  QPainter painter(this);
  DrawCentred(painter, pixmap_, rect());
  if (!hasFocus()) return;
  QStyleOptionFocusRect frame;
  frame.initFrom(this);
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, this);
}

}  // namespace quillon
