#pragma once

#include <memory>
#include <vector>

#include "platform/control.h"

class QWidget;

namespace quillon {

using ControlViews = std::vector<std::unique_ptr<ControlView>>;

/// Draws the controls of `container` (and of the frames in it) as children of `parent`, in the order of the
/// Tab key, each in its place, and attaches a view to each. Keep the views as long as the controls are in
/// use; the widgets belong to `parent`.
///
/// A widget's object name is the control's name. Its accessible name is the control's where it has one, else
/// its caption without "&"; a label's is its text.
ControlViews DrawControls(const Container& container, QWidget* parent);

}  // namespace quillon
