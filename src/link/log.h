#pragma once

#include <string>

#include "forms/quillon.h"

namespace quillon {

// The log, "Log.txt" in the program's folder: sent frames and received answers as lines of text. log_lines.h
// shows the format. Each start of the program empties the file. Lines are buffered, so the file is complete
// only when the program has ended.

/// Opens an empty log. A failure shows the run-error box; the program then works without a log.
void OpenLog(Quillon& form);

/// Writes the buffered lines and closes the log.
void CloseLog(Quillon& form);

/// Writes a line. The first failure shows the run-error box and closes the log.
void Log(Quillon& form, const std::string& line);

/// Writes two lines for a message: its purpose, then its frame.
void LogFrame(Quillon& form, const std::string& line, const Bytes& frame);

}  // namespace quillon
