#pragma once

#include <string>

#include "forms/quillon.h"

namespace quillon {

/// Wires the controls, loads the settings and shows the main window. From here on clicks drive everything.
void Start(Quillon& form);

/// Prepares the program before its window is shown: the lists of ports and speeds, "Boot.ini", the log, the
/// settings. The controls must be wired.
void Form_Load(Quillon& form);

/// Ends the program: closes the log and the port, saves the settings when `Check1` is ticked, hides the
/// windows. A second call does nothing.
void Form_Unload(Quillon& form);

/// The speed while programming: the first line of "Boot.ini" in `folder`, verbatim, or the standard speed
/// when the file is missing, empty or unreadable.
std::string DownloadSpeed(const std::string& folder);

}  // namespace quillon
