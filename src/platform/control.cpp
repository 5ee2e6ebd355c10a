// The state that all controls have in common. It is kept apart from any drawing, so that the whole program
// runs without windows in tests.
#include "platform/control.h"

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
  for (const Aspect aspect : kAllAspects) RefreshView(aspect);
}

}  // namespace quillon
