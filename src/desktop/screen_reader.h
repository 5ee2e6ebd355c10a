#pragma once

class QLabel;

namespace quillon::screen_reader {

/// Tells screen readers what Qt's own widgets leave out: which widget is a picture, and which label is a
/// status line, one of a dialog. Once, before the first window.
void Install();

/// The label shows another text: of a status line a screen reader says it.
void TextChanged(QLabel& label);

}  // namespace quillon::screen_reader
