#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "log/frame_parser.h"

namespace quillon {

/// What a line of the log is.
enum class EntryKind : std::uint8_t {
  kRequest,         ///< a frame that the tool sent
  kDetection,       ///< a request of the auto detection, which the log shows without its frame
  kMissingRequest,  ///< the log begins after the request that the next lines belong to
  kAnswer,
  kNoAnswer,
  kNoGoodAnswer,
  kForeignLine,  ///< not a line of the tool
  kCutLine,      ///< the log ends within this line
};

/// A line of the log that the report shows. Only its place is kept and its text is parsed again when it is
/// reported: a log of millions of lines then needs little more memory than its text.
struct LogEntry {
  std::uint32_t offset;  ///< of the line in the log
  std::uint32_t line;    ///< from 1
  EntryKind kind;
  bool doubtful = false;
};

/// How a message ended, as far as the log shows.
enum class Outcome : std::uint8_t {
  kUnfinished,  ///< no end in the log: cancelled, the line failed, or the log is cut
  kSent,        ///< a broadcast, which is not answered
  kGood,
  kRefused,
  kOtherLength,
  kDamaged,
  kSilent,
};

/// Whether a flash check after programming reports the checksum that was sent in the same run.
enum class ChecksumMatch : std::uint8_t { kNotCompared, kSame, kDifferent };

/// A request of the tool with all that followed it.
struct LoggedMessage {
  std::uint32_t firstEntry;    ///< its request; the entries up to the next message's belong to it
  std::uint32_t answered = 0;  ///< valid answers
  std::uint32_t refused = 0;   ///< of them: without the accepting code
  std::uint32_t repeated = 0;  ///< sends after the first; one without an answer leaves no line in the log
  RequestKind request = RequestKind::kUnknown;
  std::int8_t controller = kNoController;  ///< or kAllControllers
  Outcome outcome = Outcome::kUnfinished;
  ChecksumMatch checksum = ChecksumMatch::kNotCompared;
};

/// The log as entries and messages in the order of its lines. `text` must outlive it.
struct ParsedLog {
  std::string_view text;
  std::size_t lines = 0;
  std::deque<LogEntry> entries;
  std::deque<LoggedMessage> messages;
  std::map<std::uint32_t, std::string> notes;  ///< why an intact answer is doubtful, by the entry's offset
};

/// Parses a log, whose form link/log_lines.h defines. It accepts any text of less than 4 GiB. A log that is
/// cut anywhere is parsed as far as it goes.
ParsedLog ParseLog(std::string_view text);

/// The text of an entry's line.
std::string_view LineOf(const ParsedLog& log, const LogEntry& entry);

/// The bytes of the frame or answer in an entry's line; none where it has none.
Bytes BytesOf(const ParsedLog& log, const LogEntry& entry);

/// The index after the last entry of a message.
std::size_t EndOfEntries(const ParsedLog& log, const LoggedMessage& message);

/// The index of the last answer of a message that contains what was requested.
std::optional<std::size_t> LastGoodAnswer(const ParsedLog& log, const LoggedMessage& message);

/// What was received for `message` in the line of `entry`, one of its answers.
Answer AnswerOf(const ParsedLog& log, const LoggedMessage& message, const LogEntry& entry);

}  // namespace quillon
