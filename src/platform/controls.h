#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/run_error.h"

namespace quillon {

class Label : public Control {
 public:
  using Control::Control;
  const std::string& Text() const { return state_.text; }
  void SetText(const std::string& text) { Put(state_.text, text, Aspect::kText); }
  bool FontBold() const { return state_.fontBold; }
  void Accept(ControlVisitor& visitor) override;
};

/// A text box of one line. Text is cut at its first line end, because a pasted line end would break the
/// settings file, which has one value on each line.
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

  std::function<void()> Change;  ///< the text changed, by the operator or by the program
};

class CommandButton : public Control {
 public:
  using Control::Control;
  const std::string& Caption() const { return state_.text; }
  bool FontBold() const { return state_.fontBold; }
  /// The operator's click; a disabled or hidden button ignores it.
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

  std::function<void()> Click;  ///< the value changed, by the operator or by the program
};

/// A drop-down list. It shows the selected item; at start none is selected.
class ComboBox : public Control {
 public:
  using Control::Control;
  void AddItem(const std::string& item);
  const std::vector<std::string>& Items() const { return items_; }
  /// The text of the selected item; empty when none is selected.
  const std::string& Text() const { return state_.text; }
  /// Selects the item with that text; any other text raises RunError 383 and changes nothing.
  void SetText(const std::string& text);
  void Accept(ControlVisitor& visitor) override;

  /// How the open list shows an item, apart from its text.
  struct Note {
    std::string toolTip;
    bool faint = false;  ///< greyed, but still selectable
  };
  /// Returns the note of an item; called when the list opens. Optional.
  std::function<Note(std::size_t index)> ItemNote;

 private:
  std::vector<std::string> items_;
};

/// A bar that shows a share of a whole.
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

/// Controls of one kind with a common name, indexed from 0.
template <class T>
class ControlArray {
 public:
  /// Adds the next control and names it after the array and its index, such as "C(5)".
  T& Add(Container& parent, const std::string& name, Place place, const Design& design) {
    const std::string element = name + "(" + std::to_string(controls_.size()) + ")";
    controls_.push_back(std::make_unique<T>(parent, element, place, design));
    return *controls_.back();
  }

  /// Raises RunError 9 for an index outside the array.
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

}  // namespace quillon
