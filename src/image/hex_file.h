#pragma once

#include <string>

#include "forms/quillon.h"

namespace quillon {

// The chosen firmware file. It is analysed when it is chosen, so that nothing can be downloaded before its
// checksum is shown. It is analysed again for each controller that confirms its flash, so that the file is
// compared as it is then.

/// Reads the file named in `FileName` and fills `image`. Returns its checksum, upper-case hex digits without
/// leading zeros. When the file does not exist or can't be read it shows a box and returns "".
std::string AnalyseHexFile(Quillon& form);

/// `Command1_Click`: shows the file dialog, and puts the file that the operator chooses into `FileName`. A
/// file with a fault needs a Yes; No leads back to the dialog.
void Command1_Click(Quillon& form);

/// Puts a file that was dropped on the window into `FileName`. A file with a fault needs a Yes; No keeps the
/// former one.
void DropFile(Quillon& form, const std::string& path);

/// Updates the sign beside the checksum: it is shown while the chosen file has a fault, or was chosen during
/// a run, which may have read the former file in part.
void RefreshFileWarning(Quillon& form);

/// Updates what the main window shows of the file in `FileName`, and enables the download buttons when it has
/// a checksum. Yields twice.
void FileName_Change(Quillon& form);

}  // namespace quillon
