#pragma once

#include "forms/quillon.h"

namespace quillon {

// "Quillon.cfg": the settings of the main window in 39 lines, each known by its place alone.

/// Reads the settings. Of a damaged file every good line is used: a line that is missing or not valid is
/// skipped silently, and its control keeps its value.
void ReadConfig(Quillon& form);

/// Writes the settings. Raises RunError when the file can't be written; the former file then stays.
void SaveConfig(Quillon& form);

}  // namespace quillon
