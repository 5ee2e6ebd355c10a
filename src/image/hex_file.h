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

/// Updates what the main window shows of the file in `FileName`, and enables the download buttons when it has
/// a checksum. Yields twice.
void FileName_Change(Quillon& form);

}  // namespace quillon
