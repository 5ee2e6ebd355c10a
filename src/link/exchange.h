#pragma once

#include <string>
#include <string_view>

#include "platform/computer.h"

namespace quillon {

/// An exchange on the line: one frame out, at most one answer back. exchange.cpp says how it goes and why.

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

/// How a wait on the line ended.
enum class Wait { kOver, kCancelled };

/// The short answer 68 2F has no CRC; only the text frame of SendP4 is answered by it.
enum class ShortAnswer { kIsBad, kIsGood };
inline constexpr std::string_view kShortAnswer = "682F";

/// Whether the two bytes before the last one are the CRC of what a frame's CRC covers.
bool CrcMatches(const Bytes& received);

/// The log's line for a result.
std::string ExchangeResultText(ExchangeResult result);

}  // namespace quillon
