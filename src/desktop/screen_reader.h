#pragma once

class QLabel;

namespace quillon::screen_reader {

/// Adds to the descriptions that screen readers receive from Qt: windows, pictures, and the status line,
/// which is the label of a dialog. Call it once, before the first window is created.
void Install();

/// Call it when the text of a visible label has changed. A screen reader reads the new text of a status line.
void TextChanged(QLabel& label);

}  // namespace quillon::screen_reader
