// Determines the exit status: which kind of error a box reports, and which of two errors counts. A later
// error is often only the consequence of an earlier one: without a port, for example, no controller answers.
// So the errors have an order in which a cause outweighs its consequences.
#include "unattended/error_category.h"

#include <algorithm>
#include <array>

#include "platform/run_error.h"

namespace quillon {
namespace {

/// The categories from the least to the worst.
constexpr std::array kLeastToWorst = {ErrorCategory::kNone,  ErrorCategory::kController,
                                      ErrorCategory::kUsage, ErrorCategory::kFile,
                                      ErrorCategory::kPort,  ErrorCategory::kCancelled};

}  // namespace

ErrorCategory Worse(ErrorCategory one, ErrorCategory other) {
  const auto weight = [](ErrorCategory category) { return std::ranges::find(kLeastToWorst, category); };
  return weight(one) < weight(other) ? other : one;
}

ErrorCategory BoxCategory(int number, const QString& text) {
  switch (number) {
    case RunError::kInvalidPort:
    case RunError::kPortAlreadyOpen:
    case RunError::kPortNotOpen:
    case RunError::kDeviceFailed:
    case RunError::kInvalidPropertyValue:
      return ErrorCategory::kPort;
    case RunError::kPermissionDenied:  // of a port: "..., you have no right to COM 33 ..."
                                       // (system_line_*.cpp)
      return text.contains(" right to COM ") ? ErrorCategory::kPort : ErrorCategory::kFile;
    case RunError::kSubscriptOutOfRange:  // no row of the table for that controller
      return ErrorCategory::kController;
    case 0:  // a message box without a number: only its text differs
      if (text == "send p4 OK!!!") return ErrorCategory::kNone;  // a controller was moved to protocol 4
      return text == "File not Found!" ? ErrorCategory::kFile : ErrorCategory::kController;
    default:
      // An error of a file, or a number out of range, which came from the settings or the image.
      return ErrorCategory::kFile;
  }
}

}  // namespace quillon
