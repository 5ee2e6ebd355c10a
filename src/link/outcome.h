#pragma once

#include <string>

#include "link/exchange.h"

namespace quillon {

/// What ReportFailure tells of a controller. The first four are the results of an exchange.
enum class FailureCode {
  kNone = 0,
  kNoAnswer = 1,
  kCommunicationError = 2,
  kCommunicationFailure = 3,  ///< it refused while being programmed
  kErasingFailure = 4,        ///< it refused to be erased or moved
};

/// A status line tells the line's speed, or is brief.
enum class StatusForm { kWithSpeed, kBrief };

/// How a failed exchange is told; kNone for one that was answered.
inline FailureCode FailureOf(ExchangeResult result) { return static_cast<FailureCode>(result); }

/// "Controller 5": how all texts name a controller.
std::string ControllerText(int y);

}  // namespace quillon
