#include "platform/controls.h"

#include <algorithm>
#include <utility>

namespace quillon {

Control::Control(Container& parent, std::string name, Place place, const Design& design)
    : state_{std::string(design.text),
             "",
             design.enabled,
             design.visible,
             design.value,
             colour::kBlack,
             design.backColor,
             design.fontBold},
      name_(std::move(name)),
      place_(place),
      readOnly_(design.readOnly),
      centred_(design.centred),
      fontPoints_(design.fontPoints),
      accessibleName_(design.accessibleName),
      pictureName_(design.picture),
      startsRun_(design.startsRun),
      atStart_(state_) {
  parent.controls_.push_back(this);
}

void Control::Reset() {
  state_ = atStart_;
  for (const Aspect aspect : kAllAspects) Tell(aspect);
}

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
  Tell(Aspect::kItems);
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

Form::Form(Screen& screen, std::string name, std::string caption, Border border, int width, int height,
           const Form* owner)
    : screen_(screen),
      name_(std::move(name)),
      caption_(std::move(caption)),
      captionAtStart_(caption_),
      border_(border),
      width_(width),
      height_(height),
      owner_(owner) {}

void Form::SetCaption(const std::string& caption) {
  if (caption == caption_) return;
  caption_ = caption;
  if (view_) view_->RefreshCaption();
}

void Form::SetPointer(MousePointer pointer) {
  if (pointer == pointer_) return;
  pointer_ = pointer;
  if (view_) view_->RefreshMousePointer();
}

void Form::Show() {
  visible_ = true;
  if (!view_) screen_.Draw(*this);
  if (view_) view_->Show();
}

void Form::Hide() {
  if (!visible_) return;
  visible_ = false;
  if (view_) view_->Hide();
}

void Form::Unload() {
  Hide();
  SetCaption(captionAtStart_);
  for (Control* control : Controls()) control->Reset();
}

}  // namespace quillon
