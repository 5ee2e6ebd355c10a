// Finds the runs in a log, which does not mark them. Each kind of run sends its messages in a certain order.
// FindRuns adds message after message to a run; a message out of this order begins a new run:
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

/// The kind of a run of the kind `kind` after `next` is added to it. kUnknown when runs of this kind have no
/// such message.
LoggedRunKind KindWith(LoggedRunKind kind, const LoggedMessage& next) {
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

/// The position of a message in the order of its run: greater for a later message.
std::pair<int, int> Position(LoggedRunKind kind, const LoggedMessage& message) {
  const int controller = message.controller == kAllControllers ? 0 : message.controller;
  const int phase = Phase(message.request);
  return kind == LoggedRunKind::kSerialDownload ? std::pair(controller, phase) : std::pair(phase, controller);
}

/// Whether `next` may follow `last` in a run of the kind `kind`: it has a later position, or it repeats a
/// message.
bool IsInOrder(LoggedRunKind kind, const LoggedMessage& last, const LoggedMessage& next) {
  // A detection leaves a message unfinished only when it is cancelled, so `next` belongs to another run.
  if (kind == LoggedRunKind::kDetection && last.outcome == Outcome::kUnfinished) return false;
  const auto before = Position(kind, last);
  const auto now = Position(kind, next);
  if (now != before) return now > before;
  // At one position a run repeats only messages that failed, and sends many batches. A download moves a
  // controller to protocol 4 before it checks it.
  const bool afterMove =
      last.request == RequestKind::kToProtocol4 && next.request == RequestKind::kFlashCheck;
  return last.outcome != Outcome::kGood || next.request == RequestKind::kBatch || afterMove;
}

/// Decides whether `next` continues the run of `last`, a run of the kind `kind`. Returns the kind of the run
/// with `next`, or nothing when `next` begins a new run. An unknown message continues any run.
std::optional<LoggedRunKind> KindIfContinued(LoggedRunKind kind, const LoggedMessage& last,
                                             const LoggedMessage& next) {
  if (next.request == RequestKind::kUnknown) return kind;
  const LoggedRunKind extended = KindWith(kind, next);
  if (extended == LoggedRunKind::kUnknown) return std::nullopt;
  if (last.request != RequestKind::kUnknown && !IsInOrder(extended, last, next)) return std::nullopt;
  return extended;
}

/// Compares the checksum that each check of a run reports with the one that was sent to the controller
/// before.
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
    const auto kind =
        runs.empty() ? std::nullopt : KindIfContinued(runs.back().kind, log.messages[n - 1], message);
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
