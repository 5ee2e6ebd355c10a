#pragma once

namespace quillon {

/// Opens the manual in the desktop's viewer: the file in the folder `manual` beside the program, or else the
/// installed one. Beeps when there is none, or no viewer.
void OpenManual();

}  // namespace quillon
