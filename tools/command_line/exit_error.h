#pragma once

#include <stdexcept>
#include <string>

namespace quillon {

// Exit statuses that have the same meaning in each program. Scripts rely on them.
inline constexpr int kUsageStatus = 2;  ///< an option or argument is not valid
inline constexpr int kFileStatus = 4;   ///< a file cannot be read or written

/// An error that ends a program with a status of its own.
struct ExitError : std::runtime_error {
  ExitError(int exitStatus, const std::string& reason) : runtime_error(reason), status(exitStatus) {}
  int status;
};

}  // namespace quillon
