#pragma once

#include <functional>
#include <string>

#include "platform/computer.h"
#include "platform/control.h"

namespace quillon {

/// Draws one window. `src/desktop` implements it; tests attach none.
class FormView {
 public:
  virtual ~FormView() = default;
  virtual void Show() = 0;
  virtual void Hide() = 0;
  virtual void RefreshCaption() = 0;
  virtual void RefreshMousePointer() = 0;
};

/// A window. It exists as long as the program; unloading hides it and restores its initial state.
class Form : public Container {
 public:
  enum class Border {
    kFixed,    ///< title bar with a close button only; not resizable
    kSizable,  ///< an ordinary window
    kDialog,   ///< fixed frame, no title bar; owned by another form, not in the task bar
  };
  enum class MousePointer { kDefault = 0, kHourglass = 11 };
  enum class Key { kF12, kOther };

  /// `width` and `height` are those of the client area in twips. A dialog is centred on its `owner`, any
  /// other form on the screen.
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
  /// Shows the form, or brings it to the front when it is visible; returns at once.
  void Show();
  void Hide();
  /// Hides the form and restores the initial state of its caption and controls.
  void Unload();

  /// The operator closes the window by its frame or the keyboard: runs CloseRequest, which may unload the
  /// form.
  void Close() {
    if (CloseRequest) CloseRequest();
  }
  /// A key was released. Forms receive keys before their controls do.
  void ReleaseKey(Key key, bool shiftHeld) {
    if (KeyUp) KeyUp(key, shiftHeld);
  }

  std::function<void()> CloseRequest;
  std::function<void(Key key, bool shiftHeld)> KeyUp;
  /// The operator dropped a file on the form. Not set: the form accepts no files.
  std::function<void(const std::string& path)> FileDropped;
  /// Returns the text for "copy" while no text is selected; empty for none. Optional.
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
