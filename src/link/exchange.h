#pragma once

#include <string>
#include <string_view>

#include "forms/quillon.h"
#include "platform/computer.h"

namespace quillon {

// An exchange on the line: one frame out, at most one answer back. exchange.cpp describes the rules and the
// reasons.

inline constexpr int kSends = 3;  ///< of a frame in one exchange: the first one and two retries

/// Seconds from the first byte of an answer to its reading.
inline constexpr double kAnswerPause = 0.5;

/// How an exchange ended. The numbers are those of the failure codes.
enum class ExchangeResult {
  kAnswered = 0,   ///< a checked answer came
  kNoAnswer = 1,   ///< silence or the frame's own echo on the third send, or the operator cancelled
  kBadAnswer = 2,  ///< a false CRC or too few bytes on the third send
  kRefused = 3,    ///< of three exchanges in a row: each was answered, none with the accepting code
};

/// The short answer 68 2F has no CRC. Only the text frame of SendP4 is answered by it.
enum class ShortAnswer { kIsBad, kIsGood };
inline constexpr std::string_view kShortAnswer = "682F";

/// Whether the two bytes before the last one are the CRC of what a frame's CRC covers.
bool CrcMatches(const Bytes& received);

/// The log's line for a result.
std::string ExchangeResultText(ExchangeResult result);

/// Prepares the serial control and the pause of an answer, once at the start of the program.
void StartLink(Quillon& form);

/// Sends one closed frame and waits for its answer, up to three times.
///
/// The time-out is read from `Text1` (milliseconds) once per call. Yields while it waits for the first byte,
/// then pauses `AnswerDelay` and reads all received bytes: that pause ends an answer. A full echo of the
/// frame restarts the wait. A send costs the time to the first byte, or the time-out, and the pause.
///
/// kAnswered: `answer` contains the answer's hex digits; the short answer 68 2F leaves it as it was.
/// kNoAnswer, kBadAnswer: the result of the third send, or kNoAnswer when the operator cancelled. Logs each
/// answer and the result, but nothing on Cancel. Raises RunError when the port fails or `Text1` is not a
/// number; `answer` is then as it was.
ExchangeResult SendFrame(Quillon& form, const Bytes& frame, std::string& answer, ShortAnswer shortAnswer);

/// The reply that a result means: a run that was cancelled has none.
Reply ReplyOf(const Quillon& form, ExchangeResult result);

/// Discards all received bytes.
void FlushInput(Quillon& form);

}  // namespace quillon
