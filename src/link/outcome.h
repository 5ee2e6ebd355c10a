#pragma once

#include <string>

#include "forms/quillon.h"
#include "link/exchange.h"

namespace quillon {

// Shows the result of an exchange: during the run in the progress window `Message`, after it in the
// controller's row of the table `Info`. A failure is shown for two seconds so that the operator can read it.

inline constexpr double kFailurePause = 2.0;  ///< seconds for which a failure is shown

/// The failures that ReportFailure shows. The values 0 to 3 are those of ExchangeResult.
enum class FailureCode {
  kNone = 0,
  kNoAnswer = 1,
  kCommunicationError = 2,
  kCommunicationFailure = 3,  ///< the controller refused a batch or the full checksum
  kErasingFailure = 4,        ///< the controller refused the erase or the change of its protocol
};

/// Whether a status line contains the speed: "Controller 5 : Erasing  (Speed : 9600 Bds) ...".
enum class StatusForm { kWithSpeed, kBrief };

/// The failure code of an exchange; kNone for one that was answered.
inline FailureCode FailureOf(ExchangeResult result) { return static_cast<FailureCode>(result); }

/// "Controller 5": the name of a controller in all texts.
std::string ControllerText(int controller);

/// Shows a failure of a controller: a status line for two seconds, then red text in its row. kNone, the
/// result of an answer, empties the row. Raises RunError 9 for a number outside 0 to 31.
void ReportFailure(Quillon& form, int controller, FailureCode code);

/// Shows a status line on `Message` and returns.
void ShowProgress(Quillon& form, const std::string& text, StatusForm statusForm);

/// Shows a failure on `Message` for kFailurePause, also after Cancel. Window events are handled meanwhile.
void ShowProgressPaused(Quillon& form, const std::string& text);

/// Shows `Message` with the text `line` and one of its pictures.
void ShowStatus(Quillon& form, const Picture& picture, const std::string& line);

/// Makes the controller's row black and not bold. Its texts and backgrounds are unchanged.
void MarkController(Quillon& form, int controller);

/// Calls MarkController and empties the texts of the row.
void ClearRow(Quillon& form, int controller);

/// Writes the texts of the controller's row.
void FillRow(Quillon& form, int controller, RowContent content, const std::string& version,
             const std::string& checksum);

}  // namespace quillon
