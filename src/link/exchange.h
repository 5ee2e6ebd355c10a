#pragma once

#include <string>
#include <string_view>

#include "platform/computer.h"

namespace quillon {

/// An exchange on the line: one frame out, at most one answer back.
///
/// The line is half duplex: all stations share one pair of wires, and one speaks at a time. So the tool
/// speaks and then listens, and a controller speaks only when it was asked. Two habits of such lines shape
/// everything here:
///
/// - Nothing in an answer says reliably where it ends: its length byte may be damaged, and two controllers
///   with the same number may both speak. A pause is what ends it. The tool waits half a second from the
///   first byte on and takes what came by then as the answer.
/// - Many adapters hear what they send. The frame then comes back as an echo, before any answer. It proves
/// only
///   that the frame left, so the wait for the answer begins anew.
///
/// A frame is sent up to three times, since the line is noisy. Only the last send decides between the two
/// ways to fail: a controller that answered badly and then fell silent counts as silent.

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

/// The short answer 68 2F has no CRC; only the text frame of SendP4 is answered by it.
enum class ShortAnswer { kIsBad, kIsGood };
inline constexpr std::string_view kShortAnswer = "682F";

/// Whether the two bytes before the last one are the CRC of what a frame's CRC covers.
bool CrcMatches(const Bytes& received);

/// The log's line for a result.
std::string ExchangeResultText(ExchangeResult result);

}  // namespace quillon
