#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "commands/flash_answer.h"
#include "link/frame.h"

namespace quillon {

/// What the tool requests by a frame. The frames are defined by commands/frames.h: the parser builds each
/// known frame and compares it with the bytes, so it cannot differ from what the tool sends.
enum class RequestKind : std::uint8_t {
  kUnknown,  ///< not a frame of the tool, or its beginning is missing
  kFlashCheck,
  kDetection,  ///< a flash check of the auto detection
  kErase,
  kBatch,
  kFullChecksum,
  kBootCheck,
  kToProtocol4,
  kToProtocol3,
};

inline constexpr int kAllControllers = kBroadcast;
inline constexpr int kNoController = -1;

struct Request {
  RequestKind kind = RequestKind::kUnknown;
  int controller = kNoController;  ///< or kAllControllers
  std::string description;         ///< "asks controller 5 for version and checksum"
  std::size_t dataBytes = 0;       ///< of a batch
};

Request ParseRequest(const Bytes& frame);

enum class AnswerVerdict : std::uint8_t {
  kGood,         ///< what was requested: the accepting code, or version and checksum
  kRefused,      ///< a valid answer without the accepting code
  kOtherLength,  ///< a valid answer of a length that this request does not have
  kDamaged,      ///< a false CRC, a wrong length, an echo before the answer
};

struct Answer {
  AnswerVerdict verdict = AnswerVerdict::kDamaged;
  std::string description;
  std::optional<FlashFacts> facts;
};

/// Parses what was received after `frame`, a request of this kind.
Answer ParseAnswer(RequestKind kind, const Bytes& frame, const Bytes& received);

/// Whether the full-checksum frame contains the checksum of which a controller reports the last four hex
/// digits, `reported`.
bool MatchesChecksum(const Bytes& fullChecksumFrame, const std::string& reported);

}  // namespace quillon
