#pragma once

#include <QString>

#include "command_line/exit_error.h"

namespace quillon {

/// What went wrong. The number is the exit status of the program, so it never changes: scripts rely on it.
enum class ErrorCategory {
  kNone = 0,
  kController = 1,  ///< a controller is not in the expected state
  kUsage = 2,       ///< the command line, or a field that it leaves empty
  kPort = 3,
  kFile = 4,  ///< the firmware file, settings, log, pictures, or the program's own output
  kCancelled = 5,
};

/// Of two categories the one to exit with: the cause rather than its consequences. A cancel counts most.
ErrorCategory Worse(ErrorCategory one, ErrorCategory other);

/// The error that a box reports: a run-error box with this number, or with 0 any other box.
ErrorCategory BoxCategory(int number, const QString& text);

/// An error that ends the work; the text names the thing and what to do.
struct Failure : ExitError {
  Failure(ErrorCategory kind, const QString& reason)
      : ExitError(static_cast<int>(kind), reason.toStdString()), category(kind) {}
  ErrorCategory category;
};

}  // namespace quillon
