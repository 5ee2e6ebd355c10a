#pragma once

#include "forms/quillon.h"

namespace quillon {

// "Quillon.cfg" contains the settings of the main window in 39 lines (see settings.cpp). Form_Load reads it.
// Form_Unload writes it when "Save configuration on exit" (`Check1`) is ticked; nothing else does.

/// Reads the settings. A missing or invalid line is skipped silently: its control keeps its value, and the
/// other lines are used.
void ReadConfig(Quillon& form);

/// Writes the settings. Raises RunError when the file can't be written; the former file is then unchanged.
void SaveConfig(Quillon& form);

}  // namespace quillon
