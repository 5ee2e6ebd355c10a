#pragma once

#include <string>

#include "forms/quillon.h"

namespace quillon {

// The chosen firmware file and its display in the main window. The file is analysed when it is chosen, so
// that its checksum is shown before a download can start. It is analysed again whenever a controller has to
// confirm the checksum, in case the file has changed.

/// Reads the file named in `FileName` and fills `image`. Returns the checksum as upper-case hex digits
/// without leading zeros. When the file does not exist or can't be read, shows a box and returns "".
std::string AnalyseHexFile(Quillon& form);

/// The button "&Browse ...": shows the file dialog and writes the chosen path into `FileName`. For a damaged
/// file a question is shown first; after No the dialog is shown again.
void Command1_Click(Quillon& form);

/// Writes the path of a file that was dropped on the window into `FileName`. For a damaged file a question is
/// shown first; after No the former file is kept.
void DropFile(Quillon& form, const std::string& path);

/// Updates the warning sign beside the checksum. It is shown when the file has a fault, or when it was chosen
/// during a run, which may have read a part of the former file.
void RefreshFileWarning(Quillon& form);

/// Called when `FileName` changes: displays the file, and enables the download buttons if it has a checksum.
void FileName_Change(Quillon& form);

}  // namespace quillon
