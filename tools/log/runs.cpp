// Finds the runs in a log, which does not mark them. Each kind of run sends its messages in a certain order,
// and a message out of this order begins a new run:
//
//     Flash Info etc.    controllers 0 to 31
//     parallel download  erase 0 to 31, batches to all, full checksum 0 to 31, check 0 to 31
//     serial download    for each controller: erase, batches, full checksum, check
#include "log/runs.h"

#include <map>
#include <utility>

namespace quillon {
namespace {

/// The kind of the run of which this message is the first one.
LoggedRunKind KindOfFirst(const LoggedMessage& message) {
  switch (message.request) {
    case RequestKind::kFlashCheck:
      return LoggedRunKind::kFlashInfo;
    case RequestKind::kDetection:
      return LoggedRunKind::kDetection;
    case RequestKind::kBootCheck:
      return LoggedRunKind::kBootInfo;
    case RequestKind::kToProtocol4:
      return LoggedRunKind::kToProtocol4;
    case RequestKind::kToProtocol3:
      return LoggedRunKind::kToProtocol3;
    case RequestKind::kErase:
      return LoggedRunKind::kDownload;
    case RequestKind::kFullChecksum:
      return LoggedRunKind::kParallelDownload;  // or the end of a serial one: its beginning is cut off
    case RequestKind::kBatch:
      return message.controller == kAllControllers ? LoggedRunKind::kParallelDownload
                                                   : LoggedRunKind::kSerialDownload;
    case RequestKind::kUnknown:
      break;
  }
  return LoggedRunKind::kUnknown;
}

/// The phase of a message in a download. In other kinds of runs all messages have the same phase.
int Phase(RequestKind request) {
  switch (request) {
    case RequestKind::kErase:
      return 0;
    case RequestKind::kBatch:
      return 1;
    case RequestKind::kFullChecksum:
      return 2;
    default:
      return 3;
  }
}

/// The kind of a run once `next` is part of it; kUnknown when `next` cannot be part of it.
LoggedRunKind Joined(LoggedRunKind kind, const LoggedMessage& next) {
  const LoggedRunKind alone = KindOfFirst(next);
  if (kind == LoggedRunKind::kUnknown || kind == alone) return alone;
  const bool download = kind == LoggedRunKind::kDownload || kind == LoggedRunKind::kParallelDownload ||
                        kind == LoggedRunKind::kSerialDownload;
  if (!download) return LoggedRunKind::kUnknown;
  switch (next.request) {
    case RequestKind::kErase:
      return kind;
    case RequestKind::kBatch:
      return kind == LoggedRunKind::kDownload ? alone : LoggedRunKind::kUnknown;
    case RequestKind::kFullChecksum:
    case RequestKind::kToProtocol4:  // before the closing check
    case RequestKind::kFlashCheck:
      return kind == LoggedRunKind::kDownload ? LoggedRunKind::kUnknown : kind;  // nothing was programmed yet
    default:
      return LoggedRunKind::kUnknown;
  }
}

/// The place of a message in the order of its run.
std::pair<int, int> Place(LoggedRunKind kind, const LoggedMessage& message) {
  const int controller = message.controller == kAllControllers ? 0 : message.controller;
  const int phase = Phase(message.request);
  return kind == LoggedRunKind::kSerialDownload ? std::pair(controller, phase) : std::pair(phase, controller);
}

/// Whether `next` continues the run of `last`, a run of the kind `joined`.
bool Continues(const LoggedMessage& last, LoggedRunKind joined, const LoggedMessage& next) {
  // A detection that was cancelled ends with an unfinished question.
  if (joined == LoggedRunKind::kDetection && last.outcome == Outcome::kUnfinished) return false;
  const auto before = Place(joined, last);
  const auto now = Place(joined, next);
  if (now != before) return now > before;
  const bool afterMove =
      last.request == RequestKind::kToProtocol4 && next.request == RequestKind::kFlashCheck;
  return last.outcome != Outcome::kGood || next.request == RequestKind::kBatch || afterMove;
}

/// The kind of the run of `last` once `message`, the next one, is part of it; nothing when it begins a new
/// run.
std::optional<LoggedRunKind> Extended(LoggedRunKind kind, const LoggedMessage& last,
                                      const LoggedMessage& message) {
  if (message.request == RequestKind::kUnknown) return kind;
  const LoggedRunKind joined = Joined(kind, message);
  if (joined == LoggedRunKind::kUnknown) return std::nullopt;
  if (last.request != RequestKind::kUnknown && !Continues(last, joined, message)) return std::nullopt;
  return joined;
}

void CompareChecksums(ParsedLog& log, const Run& run) {
  std::map<int, Bytes> sent;
  for (std::size_t n = run.first; n < run.end; ++n) {
    LoggedMessage& message = log.messages[n];
    const int controller = message.controller;
    if (message.request == RequestKind::kFullChecksum)
      sent[controller] = BytesOf(log, log.entries[message.firstEntry]);
    const bool check = message.request == RequestKind::kFlashCheck && message.outcome == Outcome::kGood;
    const auto answer = check && sent.contains(controller) ? LastGoodAnswer(log, message) : std::nullopt;
    if (!answer) continue;
    LogEntry& entry = log.entries[*answer];
    const bool same = MatchesChecksum(sent[controller], AnswerOf(log, message, entry).facts->checksum);
    message.checksum = same ? ChecksumMatch::kSame : ChecksumMatch::kDifferent;
    entry.doubtful = !same;
  }
}

}  // namespace

std::vector<Run> FindRuns(ParsedLog& log) {
  std::vector<Run> runs;
  for (std::size_t n = 0; n < log.messages.size(); ++n) {
    const LoggedMessage& message = log.messages[n];
    const auto kind = runs.empty() ? std::nullopt : Extended(runs.back().kind, log.messages[n - 1], message);
    if (kind) {
      runs.back().kind = *kind;
      runs.back().end = n + 1;
    } else {
      runs.push_back({KindOfFirst(message), n, n + 1});
    }
  }
  for (const Run& run : runs) CompareChecksums(log, run);
  return runs;
}

}  // namespace quillon
