#pragma once

#include <string>
#include <string_view>

#include "forms/quillon.h"
#include "platform/computer.h"

namespace quillon {

// An exchange: the tool sends a frame to a controller and waits for its answer. exchange.cpp has the rules.

inline constexpr int kSends = 3;  ///< a frame is sent once and repeated at most twice

/// Seconds between the first byte of an answer and the reading of all its bytes.
inline constexpr double kAnswerPause = 0.5;

/// The result of an exchange.
enum class ExchangeResult {
  kAnswered = 0,   ///< a valid answer was received
  kNoAnswer = 1,   ///< no answer to the third send, or the operator cancelled
  kBadAnswer = 2,  ///< the answer to the third send was damaged
  kRefused = 3,    ///< the controller refused the command in three exchanges
};

/// Whether the answer 68 2F is valid. It has no CRC. Controllers send it only to accept the frame of SendP4.
enum class ShortAnswer { kIsBad, kIsGood };
inline constexpr std::string_view kShortAnswer = "682F";

/// Whether the CRC of a received frame, the two bytes before its last one, is correct.
bool CrcMatches(const Bytes& received);

/// The line of the log for a result.
std::string ExchangeResultText(ExchangeResult result);

/// Prepares `MSComm1` and `AnswerDelay` at the start of the program.
void StartLink(Quillon& form);

/// Sends a closed frame and waits for the answer, up to three times.
///
/// The time-out for the first byte is read from `Text1` (milliseconds) once per call. Window events are
/// handled during that wait. Then the function sleeps for `AnswerDelay` and reads all received bytes.
///
/// After kAnswered, `answer` contains the received bytes as hex digits; the short answer 68 2F is not stored.
/// Otherwise `answer` is unchanged. Each answer and the result are logged; after Cancel there is no result to
/// log. Raises RunError when the port fails or `Text1` is not a number.
ExchangeResult SendFrame(Quillon& form, const Bytes& frame, std::string& answer, ShortAnswer shortAnswer);

/// Converts a result for the run event CommandAnswered. After Cancel, kNoAnswer becomes kCancelled.
Reply ReplyOf(const Quillon& form, ExchangeResult result);

/// Discards all received bytes.
void FlushInput(Quillon& form);

}  // namespace quillon
