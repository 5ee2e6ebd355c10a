#pragma once

class QWidget;

namespace quillon {

/// Paints widgets that change faster than a screen shows, such as the status line of a run: not at each
/// change but after 16 ms, or before that at the begin of a pause that is long enough to paint in. So what
/// stands longer is always seen, and changing it costs a run next to nothing.
namespace late_painting {

/// `widget` changes now and is painted later.
void Defer(QWidget& widget);

/// Paints what is due. Serves no event.
void PaintDue();

}  // namespace late_painting
}  // namespace quillon
