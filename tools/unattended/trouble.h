#pragma once

#include <QString>
#include <stdexcept>

namespace quillon {

/// What went wrong. The number is what the program ends with, so it never changes: scripts count on it.
enum class Trouble {
  kNone = 0,
  kController = 1,  ///< one is not as wanted
  kUsage = 2,       ///< the command line, or a field that it leaves empty
  kPort = 3,
  kFile = 4,  ///< the firmware file, settings, log, pictures, or the own output
  kCancelled = 5,
};

/// Of two troubles the one to end with: the cause rather than what follows from it. Who cancels knows why.
Trouble Worse(Trouble one, Trouble other);

/// A trouble that ends the work; the text names the thing and the way out.
struct Failure : std::runtime_error {
  Failure(Trouble kind, const QString& reason) : runtime_error(reason.toStdString()), trouble(kind) {}
  Trouble trouble;
};

}  // namespace quillon
