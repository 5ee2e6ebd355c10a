// Finds answers that are intact but doubtful, such as one from another controller, so that a reader of a long
// log is led to them. The verdicts are those of the program itself (results/verdict.h). The evidence for them
// is collected from the messages of a run.
#include "log/doubts.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "results/answer_numbers.h"
#include "results/verdict.h"

namespace quillon {
namespace {

class RunDoubts {
 public:
  RunDoubts(ParsedLog& log, const Run& run) : log_(log), run_(run) {}

  void Mark() {
    for (std::size_t n = run_.first; n < run_.end; ++n) CountNumbers(log_.messages[n]);
    if (numbers_.OtherNumbersAreEvidence()) {
      for (const auto& [entry, other] : foreign_) AddNote(*entry, "from controller " + std::to_string(other));
    }
    for (std::size_t n = run_.first; n < run_.end; ++n) Judge(log_.messages[n]);
  }

 private:
  using Visit = std::function<void(LogEntry& entry, const Answer& answer)>;

  void ForEachAnswer(const LoggedMessage& message, const Visit& visit) {
    for (std::size_t n = message.firstEntry; n < EndOfEntries(log_, message); ++n) {
      LogEntry& entry = log_.entries[n];
      if (entry.kind == EntryKind::kAnswer) visit(entry, AnswerOf(log_, message, entry));
    }
  }

  /// Counts the numbers in the answers to a message. Answers to an auto detection are not counted, because
  /// the log does not contain the number that it asked.
  void CountNumbers(const LoggedMessage& message) {
    if (message.controller == kNoController || message.request == RequestKind::kDetection) return;
    ForEachAnswer(message, [&](LogEntry& entry, const Answer& answer) {
      if (answer.verdict == AnswerVerdict::kDamaged) return;
      const auto other = numbers_.Count(message.controller, BytesOf(log_, entry));
      if (other) foreign_.emplace_back(&entry, *other);
      if (other) evidence_[message.controller].otherController = other;
    });
  }

  void Judge(const LoggedMessage& message) {
    Evidence& evidence = evidence_[message.controller];
    const bool accepted = message.outcome == Outcome::kGood;
    if (message.outcome == Outcome::kRefused) MarkRefusal(message);
    if (message.request == RequestKind::kErase && accepted) evidence.erasure = Erasure::kDone;
    if (message.request == RequestKind::kBatch) {
      ++evidence.batches;
      evidence.batchesAcknowledged += accepted ? 1 : 0;
    }
    if (message.request == RequestKind::kFullChecksum) {
      if (accepted) evidence.checksumConfirmed = true;
      if (message.outcome == Outcome::kRefused) evidence.checksumConfirmed = false;
    }
    if (message.checksum != ChecksumMatch::kSame) return;
    // The tool sends the full checksum after the last batch. So the log of a serial download contains all
    // batches unless its beginning, and with it the erase, is cut off.
    if (evidence.erasure != Erasure::kDone) evidence.batches = 0;
    evidence.kind = RunKind::kParallel;
    evidence.row = RowContent::kFlash;
    if (!numbers_.OtherNumbersAreEvidence()) evidence.otherController.reset();
    const Verdict verdict = quillon::Judge(evidence);
    ForEachAnswer(message, [&](LogEntry& entry, const Answer& answer) {
      if (answer.verdict != AnswerVerdict::kGood) return;
      if (verdict.good) {
        log_.notes[entry.offset] = verdict.evidence;
      } else {
        AddNote(entry, verdict.word + ": " + verdict.reason);
      }
    });
  }

  void MarkRefusal(const LoggedMessage& message) {
    LogEntry* last = nullptr;
    ForEachAnswer(message, [&](LogEntry& entry, const Answer&) { last = &entry; });
    if (last != nullptr) last->doubtful = true;
  }

  void AddNote(LogEntry& entry, const std::string& note) {
    entry.doubtful = true;
    log_.notes[entry.offset] = note;
  }

  ParsedLog& log_;
  const Run& run_;
  AnswerNumbers numbers_;
  std::vector<std::pair<LogEntry*, int>> foreign_;
  std::map<int, Evidence> evidence_;
};

}  // namespace

void MarkDoubts(ParsedLog& log, const std::vector<Run>& runs) {
  for (const Run& run : runs) RunDoubts(log, run).Mark();
}

}  // namespace quillon
