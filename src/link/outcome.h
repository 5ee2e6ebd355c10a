#pragma once

#include <string>

namespace quillon {

/// How an exchange ended; ReportFailure takes these and the refusals as failure codes.
enum ExchangeResult {
  kAnswered = 0,   ///< a checked answer came
  kNoAnswer = 1,   ///< silence or echo on the last of three sends, or the operator cancelled
  kBadAnswer = 2,  ///< a false CRC or too few bytes on the last of three sends
};
enum Refusal {
  kRefused = 3,               ///< three answers came, none with the accepting code
  kCommunicationFailure = 3,  ///< reported of a controller that refused while being programmed
  kErasingFailure = 4,        ///< reported of a controller that refused to be erased or moved
};

/// Exchanges that a command tries where the code of the answer matters.
inline constexpr int kTries = 3;

/// The log's line for a result of an exchange, or for 3, three refused answers; empty for any other code.
std::string ExchangeResultText(int code);

/// "Controller 5": how all texts name a controller.
std::string ControllerText(int y);

}  // namespace quillon
