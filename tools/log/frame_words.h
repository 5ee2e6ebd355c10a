#pragma once

#include <optional>
#include <string>

#include "commands/flash_answer.h"
#include "link/frame.h"

namespace quillon {

/// What the tool asks by a frame. The frames themselves are defined by commands/frames.h: a frame is known by
/// building it anew and finding the same bytes.
enum class Question {
  kUnknown,  ///< no frame of the tool, or its beginning is cut off
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

struct Asked {
  Question question = Question::kUnknown;
  int controller = kNoController;  ///< or kAllControllers
  std::string words;               ///< "asks controller 5 what it holds"
  std::size_t dataBytes = 0;       ///< of a batch
};

Asked ReadFrame(const Bytes& frame);

enum class Verdict {
  kGood,         ///< what was asked for: the accepting code, or version and checksum
  kRefused,      ///< a checked answer without the accepting code
  kOtherLength,  ///< a checked answer of a length that the question does not have
  kDamaged,      ///< a false CRC, a wrong length, an echo before the answer
};

struct Heard {
  Verdict verdict = Verdict::kDamaged;
  std::string words;
  std::optional<FlashFacts> facts;
};

/// Reads what came after `frame`, which asked `question`.
Heard ReadAnswer(Question question, const Bytes& frame, const Bytes& received);

/// Whether a flash that sums up to `held`, four hex digits, is what the full-checksum frame tells.
bool TellsChecksum(const Bytes& fullChecksumFrame, const std::string& held);

}  // namespace quillon
