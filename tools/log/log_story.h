#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "log/frame_words.h"

namespace quillon {

/// How a message ended, as far as the log tells.
enum class Outcome {
  kUnfinished,  ///< no end in the log: cancelled, the line failed, or the log is cut
  kSent,        ///< a broadcast, which nobody answers
  kGood,
  kRefused,
  kOtherLength,
  kDamaged,
  kSilent,
};

/// One line of the log, told.
struct Told {
  std::size_t line;  // counted from 1
  Bytes bytes;       // none where the line holds none
  std::string words;
  bool doubtful = false;
};

/// One message of the tool with all that came after it.
struct LoggedMessage {
  Asked asked;
  Bytes frame;
  std::vector<Told> lines;  // the first one is the question
  Outcome outcome = Outcome::kUnfinished;
  FlashFacts facts;  // of a check with a good outcome
  int answered = 0;  // checked answers
  int refused = 0;   // of them: without the accepting code
  int repeated = 0;  // sends after the first, as far as the log proves: a silent send leaves no line
};

struct LogStory {
  std::vector<LoggedMessage> messages;
  std::vector<Told> strange;  // lines that the tool does not write, and the one where the log is cut
  std::size_t lines = 0;
};

/// Reads a log as link/log_lines.h draws it. A log that is cut anywhere is read as far as it goes; whatever
/// the text holds, this returns.
LogStory ReadLog(std::string_view text);

}  // namespace quillon
