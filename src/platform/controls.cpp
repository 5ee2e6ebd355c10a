// Implements the kinds of controls. A setter raises RunError for an impossible value and then changes
// nothing. `Accept` is the visitor pattern: it calls the function for the kind of the control. By it
// src/desktop creates the right widget for each control, and the controls need no code that depends on
// widgets.
#include "platform/controls.h"

#include <algorithm>

namespace quillon {

void Label::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void TextBox::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void CommandButton::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void CheckBox::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void ComboBox::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void Picture::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void ProgressBar::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }
void Frame::Accept(ControlVisitor& visitor) { visitor.Visit(*this); }

void CheckBox::SetValue(int value) {
  if (value < kUnticked || value > kGreyed) {
    throw RunError(RunError::kInvalidPropertyValue, "Invalid property value: " + Name() + " can't be " +
                                                        std::to_string(value) + ", only 0, 1 or 2.");
  }
  if (Put(state_.value, value, Aspect::kValue) && Click) Click();
}

void ComboBox::AddItem(const std::string& item) {
  items_.push_back(item);
  RefreshView(Aspect::kItems);
}

void ComboBox::SetText(const std::string& text) {
  if (std::find(items_.begin(), items_.end(), text) == items_.end()) {
    throw RunError(RunError::kTextNotInList,
                   "Text not in list: " + Name() + " has no item \"" + text + "\". Select one of its items.");
  }
  Put(state_.text, text, Aspect::kText);
}

void Frame::Reset() {
  Control::Reset();
  for (Control* control : Controls()) control->Reset();
}

}  // namespace quillon
