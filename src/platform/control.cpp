// Implements the state that all controls of a form have in common, such as text, colour and visibility. A
// control does not draw itself: a view, if one is attached, shows the state. So the whole program runs
// without windows in tests.
#include "platform/control.h"

#include <utility>

namespace quillon {

Control::Control(Container& parent, std::string name, Place place, const Design& design)
    : state_{.text = std::string(design.text),
             .toolTip = "",
             .enabled = design.enabled,
             .visible = design.visible,
             .value = design.value,
             .foreColor = colour::kBlack,
             .backColor = design.backColor,
             .fontBold = design.fontBold},
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
  for (const Aspect aspect : kAllAspects) RefreshView(aspect);
}

}  // namespace quillon
