#pragma once

namespace quillon {

/// Opens the manual in the desktop's viewer: the one beside the program, else the one that is installed for
/// all users. Beeps when there is none, or no viewer.
void OpenManual();

}  // namespace quillon
