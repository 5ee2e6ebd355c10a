#include "log/runs.h"

#include <algorithm>
#include <map>
#include <utility>

namespace quillon {
namespace {

/// The run that a message begins when it is the first one of its run.
RunKind KindOfFirst(const Asked& asked) {
  switch (asked.question) {
    case Question::kFlashCheck:
      return RunKind::kFlashInfo;
    case Question::kDetection:
      return RunKind::kDetection;
    case Question::kBootCheck:
      return RunKind::kBootInfo;
    case Question::kToProtocol4:
      return RunKind::kToProtocol4;
    case Question::kToProtocol3:
      return RunKind::kToProtocol3;
    case Question::kErase:
      return RunKind::kDownload;
    case Question::kFullChecksum:
      return RunKind::kParallelDownload;  // or the end of a serial one: its beginning is cut off
    case Question::kBatch:
      return asked.controller == kAllControllers ? RunKind::kParallelDownload : RunKind::kSerialDownload;
    case Question::kUnknown:
      break;
  }
  return RunKind::kUnknown;
}

/// The phases of a download; in a survey all messages are of one phase.
int Phase(Question question) {
  switch (question) {
    case Question::kErase:
      return 0;
    case Question::kBatch:
      return 1;
    case Question::kFullChecksum:
      return 2;
    default:
      return 3;
  }
}

/// The kind that a run turns out to be when `next` joins it; kUnknown when `next` can't belong to it.
RunKind Joined(RunKind kind, const Asked& next) {
  const RunKind alone = KindOfFirst(next);
  if (kind == RunKind::kUnknown || kind == alone) return alone;
  const bool download =
      kind == RunKind::kDownload || kind == RunKind::kParallelDownload || kind == RunKind::kSerialDownload;
  if (!download) return RunKind::kUnknown;
  switch (next.question) {
    case Question::kErase:
      return kind;
    case Question::kBatch:
      return kind == RunKind::kDownload ? alone : RunKind::kUnknown;
    case Question::kFullChecksum:
    case Question::kToProtocol4:  // before the closing check
    case Question::kFlashCheck:
      return kind == RunKind::kDownload ? RunKind::kUnknown : kind;  // nothing was programmed yet
    default:
      return RunKind::kUnknown;
  }
}

/// Where in the order of its run a message stands.
std::pair<int, int> Place(RunKind kind, const Asked& asked) {
  const int controller = asked.controller == kAllControllers ? 0 : asked.controller;
  const int phase = Phase(asked.question);
  return kind == RunKind::kSerialDownload ? std::pair(controller, phase) : std::pair(phase, controller);
}

bool Continues(const Run& run, RunKind joined, const LoggedMessage& next) {
  const LoggedMessage& last = run.messages.back();
  if (joined == RunKind::kDetection && last.outcome == Outcome::kUnfinished) return false;
  const auto before = Place(joined, last.asked);
  const auto now = Place(joined, next.asked);
  if (now != before) return now > before;
  const bool afterMove =
      last.asked.question == Question::kToProtocol4 && next.asked.question == Question::kFlashCheck;
  return last.outcome != Outcome::kGood || next.asked.question == Question::kBatch || afterMove;
}

void Add(std::vector<Run>& runs, LoggedMessage message) {
  const bool unknown = message.asked.question == Question::kUnknown;
  if (!runs.empty()) {
    Run& run = runs.back();
    const RunKind joined = unknown ? run.kind : Joined(run.kind, message.asked);
    const bool lastUnknown = run.messages.back().asked.question == Question::kUnknown;
    if (unknown || (joined != RunKind::kUnknown && (lastUnknown || Continues(run, joined, message)))) {
      run.kind = joined;
      run.messages.push_back(std::move(message));
      return;
    }
  }
  const RunKind kind = KindOfFirst(message.asked);
  runs.push_back({kind, {std::move(message)}});
}

void HoldAgainstSentChecksum(Run& run) {
  std::map<int, Bytes> sent;
  for (LoggedMessage& message : run.messages) {
    const int controller = message.asked.controller;
    if (message.asked.question == Question::kFullChecksum) sent[controller] = message.frame;
    const bool check = message.asked.question == Question::kFlashCheck && message.outcome == Outcome::kGood;
    if (!check || !sent.contains(controller)) continue;
    const bool same = TellsChecksum(sent[controller], message.facts.checksum);
    message.lines.back().words += same ? ", as sent" : ", NOT the checksum that was sent";
    message.lines.back().doubtful = !same;
  }
}

}  // namespace

std::vector<Run> FindRuns(std::vector<LoggedMessage> messages) {
  std::vector<Run> runs;
  for (LoggedMessage& message : messages) Add(runs, std::move(message));
  std::ranges::for_each(runs, HoldAgainstSentChecksum);
  return runs;
}

}  // namespace quillon
