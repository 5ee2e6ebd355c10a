#pragma once

#include <memory>
#include <vector>

#include "platform/control.h"

class QWidget;

namespace quillon {

using ControlViews = std::vector<std::unique_ptr<ControlView>>;

/// Creates a widget for each control of `container` and of its frames, as a child of `parent` and in the
/// order of the Tab key, and attaches a view to each. The views are needed as long as the controls are used.
/// A widget has the object name of its control, and its accessible name or else its caption without "&".
ControlViews DrawControls(const Container& container, QWidget* parent);

}  // namespace quillon
