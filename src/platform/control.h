#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// Position and size in twips (1/1440 inch), relative to the form or frame that contains the control.
struct Place {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

/// Colours as 0xBBGGRR.
namespace colour {
inline constexpr int kBlack = 0;
inline constexpr int kRed = 255;
inline constexpr int kWhite = 0xFFFFFF;
inline constexpr int kLightGrey = 0xC0C0C0;
}  // namespace colour

/// The initial state of a control, and its constant properties.
struct Design {
  std::string_view text = "";
  bool enabled = true;
  bool visible = true;
  int value = 0;
  int backColor = colour::kWhite;
  bool fontBold = false;
  // Constant.
  bool readOnly = false;
  bool centred = false;
  double fontPoints = 8.25;
  std::string_view accessibleName = "";  ///< for screen readers, where no caption names the control
  std::string_view picture = "";         ///< resource name: of a Picture, or shown above a button's caption
  bool startsRun = false;                ///< for buttons: a press starts a run
};

/// The property that changed, so that a view repaints only that.
enum class Aspect { kItems, kText, kToolTip, kEnabled, kVisible, kColour, kFont, kValue };
inline constexpr Aspect kAllAspects[] = {Aspect::kItems,   Aspect::kText,    Aspect::kToolTip,
                                         Aspect::kEnabled, Aspect::kVisible, Aspect::kColour,
                                         Aspect::kFont,    Aspect::kValue};

/// Draws one control. `src/desktop` implements it with Qt widgets; tests attach none.
class ControlView {
 public:
  virtual ~ControlView() = default;
  virtual void Refresh(Aspect aspect) = 0;
  virtual void TakeFocus() = 0;
};

class ControlVisitor;
class Container;

/// One control of a form: its state, with no drawing of its own.
///
/// The controls are the state of the program: procedures read and write them, and a view only shows them.
/// Setting a property to its present value changes nothing: no view is refreshed and no event runs.
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

  /// Restores the initial state; runs no event.
  virtual void Reset();

  virtual void Accept(ControlVisitor& visitor) = 0;

  /// The view must outlive the control, or be detached with nullptr.
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

  /// Stores a property and refreshes the view; false when the value is unchanged.
  template <class T>
  bool Put(T& property, const T& value, Aspect aspect) {
    if (property == value) return false;
    property = value;
    RefreshView(aspect);
    return true;
  }
  void RefreshView(Aspect aspect) {
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

/// A parent of controls: a form or a frame. The order of its controls is that of the Tab key.
class Container {
 public:
  const std::vector<Control*>& Controls() const { return controls_; }

 protected:
  ~Container() = default;

 private:
  friend class Control;
  std::vector<Control*> controls_;
};

}  // namespace quillon
