#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/computer.h"
#include "platform/run_error.h"

namespace quillon {

/// The controls are the state of the program: what they hold is what the program knows, and a window only
/// shows it. Setting a property to the value it has is no change: no view is told and no event runs.

/// Left, top, width and height in twips, 1/1440 inch, from the corner of the form or frame around it.
struct Place {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

/// Colours are numbers 0xBBGGRR.
namespace colour {
inline constexpr int kBlack = 0;
inline constexpr int kRed = 255;
inline constexpr int kWhite = 0xFFFFFF;
inline constexpr int kLightGrey = 0xC0C0C0;
}  // namespace colour

/// What a control is at start, and what of it never changes.
struct Design {
  std::string_view text = "";
  bool enabled = true;
  bool visible = true;
  int value = 0;
  int backColor = colour::kWhite;
  bool fontBold = false;
  // These never change.
  bool readOnly = false;
  bool centred = false;
  double fontPoints = 8.25;
  std::string_view accessibleName = "";  ///< for screen readers, where no caption tells what the control is
  std::string_view picture = "";  ///< name in the resources: a Picture's own, or above a button's caption
  bool startsRun = false;         ///< of a button
};

/// What of a control changed, so that a view repaints that and nothing else.
enum class Aspect { kItems, kText, kToolTip, kEnabled, kVisible, kColour, kFont, kValue };
inline constexpr Aspect kAllAspects[] = {Aspect::kItems,   Aspect::kText,    Aspect::kToolTip,
                                         Aspect::kEnabled, Aspect::kVisible, Aspect::kColour,
                                         Aspect::kFont,    Aspect::kValue};

/// A realisation's view of one control.
class ControlView {
 public:
  virtual ~ControlView() = default;
  virtual void Refresh(Aspect aspect) = 0;
  virtual void TakeFocus() = 0;
};

class ControlVisitor;
class Container;

class Control {
 public:
  Control(Container& parent, std::string name, Place place, const Design& design);
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  virtual ~Control() = default;

  const std::string& Name() const { return name_; }
  const Place& Where() const { return place_; }
  bool ReadOnly() const { return readOnly_; }
  bool Centred() const { return centred_; }
  double FontPoints() const { return fontPoints_; }
  const std::string& AccessibleName() const { return accessibleName_; }
  const std::string& PictureName() const { return pictureName_; }
  bool StartsRun() const { return startsRun_; }

  bool Enabled() const { return state_.enabled; }
  void SetEnabled(bool enabled) { Put(state_.enabled, enabled, Aspect::kEnabled); }
  bool Visible() const { return state_.visible; }
  void SetVisible(bool visible) { Put(state_.visible, visible, Aspect::kVisible); }
  const std::string& ToolTip() const { return state_.toolTip; }
  void SetToolTip(const std::string& text) { Put(state_.toolTip, text, Aspect::kToolTip); }

  void SetFocus() {
    if (view_) view_->TakeFocus();
  }

  /// Puts all properties back to what they were at start; runs no event.
  virtual void Reset();

  virtual void Accept(ControlVisitor& visitor) = 0;

  /// The view must outlive its use here; nullptr takes it away.
  void AttachView(ControlView* view) { view_ = view; }

 protected:
  struct State {
    std::string text;
    std::string toolTip;
    bool enabled;
    bool visible;
    int value;
    int foreColor;
    int backColor;
    bool fontBold;
  };

  /// Stores a property's value and tells the view; false when it is the value already held.
  template <class T>
  bool Put(T& property, const T& value, Aspect aspect) {
    if (property == value) return false;
    property = value;
    Tell(aspect);
    return true;
  }
  void Tell(Aspect aspect) {
    if (view_) view_->Refresh(aspect);
  }

  State state_;

 private:
  std::string name_;
  Place place_;
  bool readOnly_;
  bool centred_;
  double fontPoints_;
  std::string accessibleName_;
  std::string pictureName_;
  bool startsRun_;
  State atStart_;
  ControlView* view_ = nullptr;
};

class Label : public Control {
 public:
  using Control::Control;
  const std::string& Text() const { return state_.text; }
  void SetText(const std::string& text) { Put(state_.text, text, Aspect::kText); }
  bool FontBold() const { return state_.fontBold; }
  void Accept(ControlVisitor& visitor) override;
};

/// A box of one line. Of what it is given it takes the text up to the first line end, since a pasted line end
/// would break the lines of the settings file.
class TextBox : public Control {
 public:
  using Control::Control;
  const std::string& Text() const { return state_.text; }
  void SetText(const std::string& text) {
    const std::string line = text.substr(0, text.find_first_of("\r\n"));
    if (Put(state_.text, line, Aspect::kText) && Change) Change();
  }
  int ForeColor() const { return state_.foreColor; }
  void SetForeColor(int number) { Put(state_.foreColor, number, Aspect::kColour); }
  int BackColor() const { return state_.backColor; }
  void SetBackColor(int number) { Put(state_.backColor, number, Aspect::kColour); }
  bool FontBold() const { return state_.fontBold; }
  void SetFontBold(bool bold) { Put(state_.fontBold, bold, Aspect::kFont); }
  void Accept(ControlVisitor& visitor) override;

  std::function<void()> Change;  ///< the text became another, by the operator or by the program
};

class CommandButton : public Control {
 public:
  using Control::Control;
  const std::string& Caption() const { return state_.text; }
  bool FontBold() const { return state_.fontBold; }
  /// The operator's click. A button that is disabled or hidden takes none.
  void Press() {
    if (Enabled() && Visible() && Click) Click();
  }
  void Accept(ControlVisitor& visitor) override;

  std::function<void()> Click;
};

class CheckBox : public Control {
 public:
  static constexpr int kUnticked = 0;
  static constexpr int kTicked = 1;
  static constexpr int kGreyed = 2;

  using Control::Control;
  const std::string& Caption() const { return state_.text; }
  int Value() const { return state_.value; }
  bool Ticked() const { return state_.value == kTicked; }
  /// 0 unticked, 1 ticked, 2 greyed; any other value raises RunError 380 and changes nothing.
  void SetValue(int value);
  void Accept(ControlVisitor& visitor) override;

  std::function<void()> Click;  ///< the value became another, by the operator or by the program
};

/// A drop-down list: it shows one of its items, or none at start.
class ComboBox : public Control {
 public:
  using Control::Control;
  void AddItem(const std::string& item);
  const std::vector<std::string>& Items() const { return items_; }
  /// The text of the selected item; empty when none is selected.
  const std::string& Text() const { return state_.text; }
  /// Selects the item with that text; a text that is no item raises RunError 383 and changes nothing.
  void SetText(const std::string& text);
  void Accept(ControlVisitor& visitor) override;

  /// What the open list shows of an item beside its text.
  struct Note {
    std::string toolTip;
    bool faint = false;  ///< the item can be selected all the same
  };
  /// Returns the note of the item at an index; asked when the list drops down. Not set: there are none.
  std::function<Note(std::size_t index)> ItemNote;

 private:
  std::vector<std::string> items_;
};

/// A bar that shows how much of something is done.
class ProgressBar : public Control {
 public:
  static constexpr int kWhole = 1000;

  using Control::Control;
  /// 0 to kWhole.
  int Value() const { return state_.value; }
  void SetValue(int value) { Put(state_.value, value, Aspect::kValue); }
  void Accept(ControlVisitor& visitor) override;
};

class Picture : public Control {
 public:
  using Control::Control;
  void Accept(ControlVisitor& visitor) override;
};

/// What holds controls, in the order of the Tab key.
class Container {
 public:
  const std::vector<Control*>& Controls() const { return controls_; }

 protected:
  ~Container() = default;

 private:
  friend class Control;
  std::vector<Control*> controls_;
};

class Frame : public Control, public Container {
 public:
  using Control::Control;
  const std::string& Caption() const { return state_.text; }
  void Reset() override;
  void Accept(ControlVisitor& visitor) override;
};

class ControlVisitor {
 public:
  virtual ~ControlVisitor() = default;
  virtual void Visit(Label& label) = 0;
  virtual void Visit(TextBox& box) = 0;
  virtual void Visit(CommandButton& button) = 0;
  virtual void Visit(CheckBox& box) = 0;
  virtual void Visit(ComboBox& list) = 0;
  virtual void Visit(Picture& picture) = 0;
  virtual void Visit(ProgressBar& bar) = 0;
  virtual void Visit(Frame& frame) = 0;
};

/// Controls of one kind under one name, each with an index from 0.
template <class T>
class ControlArray {
 public:
  /// Adds the next control; its name is the array's and the index, such as "C(5)".
  T& Add(Container& parent, const std::string& name, Place place, const Design& design) {
    const std::string element = name + "(" + std::to_string(controls_.size()) + ")";
    controls_.push_back(std::make_unique<T>(parent, element, place, design));
    return *controls_.back();
  }

  /// Raises RunError 9 for an index that no control has.
  T& operator()(int index) const {
    if (index < 0 || index >= static_cast<int>(controls_.size())) {
      throw RunError(RunError::kSubscriptOutOfRange,
                     "Subscript out of range: there is no row " + std::to_string(index) + ".");
    }
    return *controls_[static_cast<std::size_t>(index)];
  }

 private:
  std::vector<std::unique_ptr<T>> controls_;
};

/// A realisation's view of one form.
class FormView {
 public:
  virtual ~FormView() = default;
  virtual void Show() = 0;
  virtual void Hide() = 0;
  virtual void RefreshCaption() = 0;
  virtual void RefreshMousePointer() = 0;
};

/// A window. It lives as long as the program: unloading it hides it and puts it back to its first state.
class Form : public Container {
 public:
  enum class Border {
    kFixed,    ///< title bar with close button only, not to be resized
    kSizable,  ///< an ordinary window
    kDialog,   ///< a fixed dialog frame with no title bar, belonging to its owner, not in the task bar
  };
  enum class MousePointer { kDefault = 0, kHourglass = 11 };
  enum class Key { kF12, kOther };

  /// `width` and `height` of the client area in twips. `owner` is the form that a dialog is centred on;
  /// others are centred on the screen.
  Form(Screen& screen, std::string name, std::string caption, Border border, int width, int height,
       const Form* owner = nullptr);
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  const std::string& Name() const { return name_; }
  Border BorderStyle() const { return border_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  const Form* Owner() const { return owner_; }

  const std::string& Caption() const { return caption_; }
  void SetCaption(const std::string& caption);
  MousePointer Pointer() const { return pointer_; }
  void SetPointer(MousePointer pointer);

  bool Visible() const { return visible_; }
  /// Shows the form without holding the caller; one that is shown comes to the front.
  void Show();
  void Hide();
  /// Hides the form; every control and the caption go back to their first state.
  void Unload();

  /// The operator closes the window by its frame or the keyboard: runs CloseRequest, which decides.
  void Close() {
    if (CloseRequest) CloseRequest();
  }
  /// A key was released; forms see keys before their controls do.
  void ReleaseKey(Key key, bool shiftHeld) {
    if (KeyUp) KeyUp(key, shiftHeld);
  }

  std::function<void()> CloseRequest;
  std::function<void(Key key, bool shiftHeld)> KeyUp;
  /// The operator dropped a file on the form. Not set: it takes none.
  std::function<void(const std::string& path)> FileDropped;
  /// Returns what "copy" copies while no text is selected; empty: nothing. Not set: the form has nothing.
  std::function<std::string()> CopyText;

  void AttachView(FormView* view) { view_ = view; }

 protected:
  ~Form() = default;

 private:
  Screen& screen_;
  std::string name_;
  std::string caption_;
  std::string captionAtStart_;
  Border border_;
  int width_;
  int height_;
  const Form* owner_;
  bool visible_ = false;
  MousePointer pointer_ = MousePointer::kDefault;
  FormView* view_ = nullptr;
};

}  // namespace quillon
