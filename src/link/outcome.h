#pragma once

#include <string>

#include "forms/quillon.h"
#include "link/exchange.h"

namespace quillon {

// How the result of an exchange is shown: `Message` shows it during the run and displays a failure for two
// seconds, so that nobody misses it. The controller's row in `Info` keeps it after the run.

inline constexpr double kFailurePause = 2.0;  ///< seconds for which a failure is shown

/// What ReportFailure shows of a controller. The first four are the results of an exchange.
enum class FailureCode {
  kNone = 0,
  kNoAnswer = 1,
  kCommunicationError = 2,
  kCommunicationFailure = 3,  ///< it refused while being programmed
  kErasingFailure = 4,        ///< it refused to be erased or moved
};

/// A status line includes the line's speed, or is brief.
enum class StatusForm { kWithSpeed, kBrief };

/// The failure code of an exchange; kNone for one that was answered.
inline FailureCode FailureOf(ExchangeResult result) { return static_cast<FailureCode>(result); }

/// "Controller 5": the name of a controller in all texts.
std::string ControllerText(int y);

/// Shows how an exchange with controller `y` ended. kNone empties its row. The others show a status line for
/// two seconds, then red words in the row. Raises RunError 9 for a `y` outside 0 to 31.
void ReportFailure(Quillon& form, int y, FailureCode code);

/// Shows a status line on `Message` and returns.
void ShowProgress(Quillon& form, const std::string& text, StatusForm statusForm);

/// Shows a failure on `Message` for kFailurePause, yielding. Cancel does not shorten them.
void ShowProgressPaused(Quillon& form, const std::string& text);

/// Shows `Message` with `line` as it is and one of its pictures.
void ShowStatus(Quillon& form, const Picture& picture, const std::string& line);

/// Row `y` becomes black and not bold. Its texts and backgrounds stay.
void MarkController(Quillon& form, int y);

/// As MarkController; empties the texts too.
void ClearRow(Quillon& form, int y);

/// Writes the texts of row `y`.
void FillRow(Quillon& form, int y, RowContent content, const std::string& version,
             const std::string& checksum);

}  // namespace quillon
