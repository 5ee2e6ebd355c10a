#pragma once

#include <string>

#include "forms/quillon.h"

namespace quillon {

/// Starts the program: connects the events of the controls, calls Form_Load and shows the main window.
void Start(Quillon& form);

/// Prepares the program before its window is shown: reads "Boot.ini", fills the lists of ports and speeds,
/// opens the log, reads the settings. The events of the controls must be connected.
void Form_Load(Quillon& form);

/// Ends the program: closes the log, saves the settings if `Check1` is ticked, closes the port, hides the
/// windows. A second call does nothing.
void Form_Unload(Quillon& form);

/// The speed while programming: the first line of "Boot.ini" in `folder`, verbatim, or "9600" when the file
/// is missing, empty or unreadable.
std::string DownloadSpeed(const std::string& folder);

}  // namespace quillon
