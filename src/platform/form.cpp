// Implements the state of a window; a view, if one is attached, shows it. A form exists as long as the
// program. Unloading it hides the window and restores the initial state of its caption and controls.
#include "platform/form.h"

#include <utility>

namespace quillon {

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
  if (!view_) screen_.Draw(*this);  // attaches a view; a screen for tests attaches none
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
