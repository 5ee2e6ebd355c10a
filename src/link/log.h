#pragma once

#include <string>

#include "forms/quillon.h"

namespace quillon {

// The log, "Log.txt" in the program's folder: what was sent and received, in lines of text; log_lines.h shows
// some. It is emptied at each start and complete when the program has ended. Until then lines may be in a
// buffer.

/// Opens the log, empty. A failure shows the run-error box; the program then works without a log.
void OpenLog(Quillon& form);

/// Writes what is buffered and closes the log.
void CloseLog(Quillon& form);

/// Writes a line. The first one that can't be written shows the run-error box; the program then works without
/// a log.
void Log(Quillon& form, const std::string& line);

/// Writes two lines for a message: what it is for, then its frame.
void LogFrame(Quillon& form, const std::string& line, const Bytes& frame);

}  // namespace quillon
