// Displays the controls of a form. For each kind of control there is a view, which connects a control with
// its Qt widget. The control has the state, and the widget only shows it:
//
//     the program sets a property  ->  control  ->  ControlView::Refresh  ->  widget
//     the operator types or clicks ->  widget   ->  a setter or Press of the control
#include "desktop/control_widgets.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QStringList>
#include <algorithm>
#include <optional>
#include <utility>

#include "desktop/deferred_paint.h"
#include "desktop/picture_widgets.h"
#include "desktop/screen_reader.h"
#include "desktop/theme.h"
#include "platform/controls.h"

namespace quillon {
namespace {

/// Text for display. Bytes that are not UTF-8 are shown as replacement characters.
QString Shown(const std::string& text) { return QString::fromUtf8(text); }

/// The caption without the "&" before the letter that Alt selects it by.
QString WithoutMnemonic(const std::string& caption) { return Shown(caption).remove('&'); }

/// The colour of a number 0xBBGGRR.
QColor ColourOf(int number) { return QColor(number & 0xFF, number >> 8 & 0xFF, number >> 16 & 0xFF); }

QRect RectOf(const Place& place) {
  return QRect(Pixels(place.left), Pixels(place.top), Pixels(place.width), Pixels(place.height));
}

/// The part that all views have in common. Updating a widget makes it emit signals as if the operator had
/// changed it. `Refreshing` is true meanwhile, so that views ignore these signals.
template <class Kind, class Widget>
class ViewOf : public ControlView {
 public:
  ViewOf(Kind& control, Widget* widget) : control_(control), widget_(*widget) {
    widget_.setObjectName(Shown(control_.Name()));
    widget_.setGeometry(RectOf(control_.Where()));
    widget_.setAccessibleName(Shown(control_.AccessibleName()));
  }

  void Refresh(Aspect aspect) final {
    const bool outer = std::exchange(refreshing_, true);
    if (aspect == Aspect::kEnabled) RefreshEnabled();
    if (aspect == Aspect::kVisible && widget_.isVisibleTo(widget_.parentWidget()) != control_.Visible()) {
      widget_.setVisible(control_.Visible());
    }
    if (aspect == Aspect::kToolTip) widget_.setToolTip(Shown(control_.ToolTip()));
    RefreshKind(aspect);
    refreshing_ = outer;
  }

  void TakeFocus() final { widget_.setFocus(); }

 protected:
  virtual void RefreshKind(Aspect) {}
  bool Refreshing() const { return refreshing_; }

  void NameByCaption() {
    if (control_.AccessibleName().empty()) widget_.setAccessibleName(WithoutMnemonic(control_.Caption()));
  }

  Kind& control_;
  Widget& widget_;

 private:
  /// Problem: when a control is disabled, Qt moves the focus to the next one, which then receives the next
  /// key. Remedy: no control has the focus until this one is enabled again.
  void RefreshEnabled() {
    const QWidget* window = widget_.window();
    if (!control_.Enabled() && window->focusWidget() == &widget_) {
      hadFocus_ = true;
      widget_.clearFocus();
    }
    widget_.setEnabled(control_.Enabled());
    if (!control_.Enabled() || !std::exchange(hadFocus_, false)) return;
    if (window->focusWidget() == nullptr) widget_.setFocus();
  }

  bool refreshing_ = false;
  bool hadFocus_ = false;
};

/// `font` with the letters narrowed so that `text` fits into `available` pixels. If they would become too
/// narrow to be read, the font is unchanged.
QFont Narrowed(QFont font, const QString& text, int available) {
  constexpr int kMinStretch = 55;  // percent
  const int needed = QFontMetrics(font).horizontalAdvance(text);
  if (needed > available && needed * kMinStretch <= available * 100)
    font.setStretch(available * 100 / needed);
  return font;
}

/// A label becomes wider than its place if its text is long. If another control is on its right, it grows up
/// to that control, and the text is narrowed. Otherwise it grows up to the edge of its window, and the text
/// is wrapped.
class LabelView final : public ViewOf<Label, QLabel> {
 public:
  LabelView(Label& label, QWidget* parent, const Container& container)
      : ViewOf(label, new QLabel(parent)), neighbour_(LeftOfNeighbour(label.Where(), container)) {
    widget_.setTextFormat(Qt::PlainText);
    widget_.setAlignment(Qt::AlignTop | (label.Centred() ? Qt::AlignHCenter : Qt::AlignLeft));
    widget_.setFont(ControlFont(label.FontPoints(), label.FontBold()));
    widget_.setAutoFillBackground(true);  // a new text repaints the label alone
  }

 private:
  static constexpr int kEdge = 4;  // pixels between a text and its neighbour or the edge of its window

  void RefreshKind(Aspect aspect) override {
    if (aspect != Aspect::kText) return;
    if (!widget_.isVisible()) {
      ShowText();
    } else if (!std::exchange(paintPending_, true)) {
      // A run changes the status line faster than the screen can show it, and must not wait for the painting.
      deferred_paint::Add(widget_, [this] {
        paintPending_ = false;
        ShowText();
        widget_.repaint();
        if (widget_.isVisible()) screen_reader::TextChanged(widget_);
      });
    }
  }

  void ShowText() {
    widget_.setText(Shown(control_.Text()));
    Fit();
  }

  /// The left edge, in twips, of the nearest control on the right.
  static std::optional<int> LeftOfNeighbour(const Place& place, const Container& container) {
    std::optional<int> nearest;
    for (const Control* control : container.Controls()) {
      const Place& other = control->Where();
      const bool beside = other.top < place.top + place.height && place.top < other.top + other.height;
      if (beside && other.left > place.left) nearest = std::min(nearest.value_or(other.left), other.left);
    }
    return nearest;
  }

  void Fit() {
    const QRect place = RectOf(control_.Where());
    if (neighbour_) {
      FitBesideNeighbour(place, Pixels(*neighbour_) - place.left());
    } else {
      FitIntoWindow(place, widget_.parentWidget()->width() - place.left() - kEdge);
    }
  }

  void FitBesideNeighbour(const QRect& place, int available) {
    const QFont font = ControlFont(control_.FontPoints(), control_.FontBold());
    const QFont fitting = Narrowed(font, widget_.text(), available - kEdge);
    if (fitting != widget_.font()) widget_.setFont(fitting);
    Grow(place, std::min(available, widget_.fontMetrics().horizontalAdvance(widget_.text()) + kEdge));
  }

  void FitIntoWindow(const QRect& place, int available) {
    const QFontMetrics metrics = widget_.fontMetrics();
    const int needed = metrics.horizontalAdvance(widget_.text());
    const bool wraps = needed > available;
    if (widget_.wordWrap() != wraps) {
      widget_.setWordWrap(wraps);
      widget_.setContentsMargins(0, 0, wraps ? std::max(0, place.width() - available) : 0, 0);
    }
    if (!wraps) return Grow(place, needed);
    const QRect below = metrics.boundingRect(QRect(0, 0, available, 0), Qt::TextWordWrap, widget_.text());
    widget_.setGeometry(
        QRect(place.topLeft(), QSize(place.width(), std::max(place.height(), below.height()))));
  }

  void Grow(const QRect& place, int needed) {
    QRect grown = place;
    grown.setWidth(std::max(place.width(), needed));
    if (control_.Centred()) grown.moveCenter(place.center());
    widget_.setGeometry(grown);
  }

  const std::optional<int> neighbour_;
  bool paintPending_ = false;
};

class TextBoxView final : public ViewOf<TextBox, QLineEdit> {
 public:
  TextBoxView(TextBox& box, QWidget* parent) : ViewOf(box, new QLineEdit(parent)) {
    widget_.setReadOnly(box.ReadOnly());
    widget_.setAcceptDrops(false);  // a dropped file is for the window
    if (box.Centred()) widget_.setAlignment(Qt::AlignCenter);
    QObject::connect(&widget_, &QLineEdit::textChanged, &widget_, [this](const QString& text) {
      if (Refreshing()) return;
      control_.SetText(text.toUtf8().toStdString());
      Refresh(Aspect::kText);  // the control keeps only the first line of a pasted text
    });
  }

 private:
  void RefreshKind(Aspect aspect) override {
    if (aspect == Aspect::kText) ShowText();
    if (aspect == Aspect::kColour) ShowColours();
    if (aspect == Aspect::kText || aspect == Aspect::kFont) FitFont();
  }

  /// Narrows a word that is too long for a field of the table.
  void FitFont() {
    constexpr int kTextMargins = 8;  // pixels of a box outside its text
    QFont font = ControlFont(control_.FontPoints(), control_.FontBold());
    if (control_.ReadOnly() && control_.Centred()) {
      font = Narrowed(font, widget_.text(), widget_.width() - kTextMargins);
    }
    if (font != widget_.font()) widget_.setFont(font);
  }

  void ShowText() {
    const QString text = Shown(control_.Text());
    if (text == widget_.text()) return;
    widget_.setText(text);
    // If the text is longer than the box, a field of the table shows its beginning. The box with the path of
    // the file shows its end, which is the name of the file.
    if (control_.ReadOnly())
      widget_.setCursorPosition(control_.Centred() ? 0 : static_cast<int>(text.size()));
  }

  void ShowColours() {
    const QColor text = ColourOf(control_.ForeColor());
    const QColor back = ColourOf(control_.BackColor());
    QPalette palette = widget_.palette();
    if (palette.color(QPalette::Active, QPalette::Text) == text &&
        palette.color(QPalette::Active, QPalette::Base) == back) {
      return;
    }
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Base, back);
    widget_.setPalette(palette);
  }
};

class ButtonView final : public ViewOf<CommandButton, PictureButton> {
 public:
  ButtonView(CommandButton& button, QWidget* parent)
      : ViewOf(button, new PictureButton(button.PictureName(), button.StartsRun(), parent)) {
    NameByCaption();
    widget_.setText(Shown(button.Caption()));
    widget_.setFont(ControlFont(button.FontPoints(), button.FontBold()));
    widget_.setAutoDefault(true);  // Enter presses the button that has the focus
    QObject::connect(&widget_, &QPushButton::clicked, &widget_, [this] { control_.Press(); });
  }
};

class CheckBoxView final : public ViewOf<CheckBox, TickBox> {
 public:
  CheckBoxView(CheckBox& box, QWidget* parent) : ViewOf(box, new TickBox(parent)) {
    NameByCaption();
    widget_.setText(Shown(box.Caption()));
    const int besideCaption = widget_.sizeHint().width() - CaptionWidth();
    widget_.setFont(Narrowed(widget_.font(), widget_.text(), widget_.width() - besideCaption));
    QObject::connect(&widget_, &QCheckBox::toggled, &widget_, [this](bool ticked) {
      if (!Refreshing()) control_.SetValue(ticked ? CheckBox::kTicked : CheckBox::kUnticked);
    });
  }

 private:
  int CaptionWidth() const { return widget_.fontMetrics().horizontalAdvance(widget_.text()); }

  void RefreshKind(Aspect aspect) override {
    if (aspect != Aspect::kValue) return;
    constexpr Qt::CheckState kStates[] = {Qt::Unchecked, Qt::Checked, Qt::PartiallyChecked};
    widget_.setCheckState(kStates[control_.Value()]);
  }
};

class ComboBoxView final : public ViewOf<ComboBox, DropList> {
 public:
  ComboBoxView(ComboBox& list, QWidget* parent, const Container& container)
      : ViewOf(list, new DropList(parent)) {
    TieToLabelBefore(container);
    if (list.ItemNote) {
      widget_.noteOf = [&list](int index) {
        const ComboBox::Note note = list.ItemNote(static_cast<std::size_t>(index));
        return DropList::Note{Shown(note.toolTip), note.faint};
      };
    }
    widget_.setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    QObject::connect(&widget_, &QComboBox::currentIndexChanged, &widget_, [this](int index) {
      if (!Refreshing() && index >= 0) control_.SetText(control_.Items()[static_cast<std::size_t>(index)]);
    });
  }

 private:
  void RefreshKind(Aspect aspect) override {
    if (aspect == Aspect::kItems) ShowItems();
    if (aspect == Aspect::kItems || aspect == Aspect::kText) ShowSelection();
  }

  /// A screen reader reads only the selected item of a list. Its purpose is read from this label.
  void TieToLabelBefore(const Container& container) {
    const auto& controls = container.Controls();
    const auto here = std::find(controls.begin(), controls.end(), &control_);
    if (here == controls.begin()) return;
    auto* label = widget_.parentWidget()->findChild<QLabel*>(Shown((*std::prev(here))->Name()));
    if (label != nullptr) label->setBuddy(&widget_);
  }

  void ShowItems() {
    QStringList items;
    for (const std::string& item : control_.Items()) items.push_back(Shown(item));
    widget_.clear();
    widget_.addItems(items);
  }

  void ShowSelection() {
    const auto& items = control_.Items();
    const auto selected = std::find(items.begin(), items.end(), control_.Text());
    widget_.setCurrentIndex(selected == items.end() ? -1 : static_cast<int>(selected - items.begin()));
  }
};

class PictureView final : public ViewOf<Picture, PictureWidget> {
 public:
  PictureView(Picture& picture, QWidget* parent)
      : ViewOf(picture, new PictureWidget(picture.PictureName(), parent)) {}

 private:
  /// A picture with a tool tip can get the keyboard focus.
  void RefreshKind(Aspect aspect) override {
    if (aspect == Aspect::kToolTip)
      widget_.setFocusPolicy(control_.ToolTip().empty() ? Qt::NoFocus : Qt::StrongFocus);
  }
};

class ProgressBarView final : public ViewOf<ProgressBar, BarWidget> {
 public:
  ProgressBarView(ProgressBar& bar, QWidget* parent) : ViewOf(bar, new BarWidget(parent)) {}

 private:
  void RefreshKind(Aspect aspect) override {
    if (aspect != Aspect::kValue || std::exchange(paintPending_, true)) return;
    deferred_paint::Add(widget_, [this] {
      paintPending_ = false;
      widget_.SetShare(static_cast<double>(control_.Value()) / ProgressBar::kWhole);
    });
  }

  bool paintPending_ = false;
};

class FrameView final : public ViewOf<Frame, LineFrame> {
 public:
  FrameView(Frame& frame, QWidget* parent) : ViewOf(frame, new LineFrame(parent)) {
    NameByCaption();
    widget_.setTitle(Shown(frame.Caption()));
    contents_ = DrawControls(frame, &widget_);
  }

 private:
  ControlViews contents_;
};

/// Creates a widget and a view for each control that it visits.
class ViewFactory final : public ControlVisitor {
 public:
  ViewFactory(const Container& container, QWidget* parent) : container_(container), parent_(parent) {}

  void Visit(Label& label) override { Add<LabelView>(label, container_); }
  void Visit(TextBox& box) override { Add<TextBoxView>(box); }
  void Visit(CommandButton& button) override { Add<ButtonView>(button); }
  void Visit(CheckBox& box) override { Add<CheckBoxView>(box); }
  void Visit(ComboBox& list) override { Add<ComboBoxView>(list, container_); }
  void Visit(Picture& picture) override { Add<PictureView>(picture); }
  void Visit(ProgressBar& bar) override { Add<ProgressBarView>(bar); }
  void Visit(Frame& frame) override { Add<FrameView>(frame); }

  ControlViews views;

 private:
  template <class View, class Kind, class... More>
  void Add(Kind& control, const More&... more) {
    views.push_back(std::make_unique<View>(control, parent_, more...));
    for (const Aspect aspect : kAllAspects) views.back()->Refresh(aspect);
    control.AttachView(views.back().get());
  }

  const Container& container_;
  QWidget* parent_;
};

}  // namespace

ControlViews DrawControls(const Container& container, QWidget* parent) {
  ViewFactory factory(container, parent);
  for (Control* control : container.Controls()) control->Accept(factory);
  return std::move(factory.views);
}

}  // namespace quillon
