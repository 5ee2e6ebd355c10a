#pragma once

class QLabel;

namespace quillon::screen_reader {

/// Tells screen readers what Qt's own widgets leave out: which widget is a window, which one a picture, and
/// which label is a status line, one of a dialog. Once, before the first window.
void Install();

/// A label that is seen shows another text: of a status line a screen reader says it. (The text that a window
/// opens with is said at its opening, without this.)
void TextChanged(QLabel& label);

}  // namespace quillon::screen_reader
