// Finds answers that are intact but doubtful, so that a reader of a long log finds them: an answer from
// another controller, a final refusal, or a checksum "as sent" of a controller that is not good. Mark reads a
// run twice. Each answer has a field with the number of its sender, but some controllers always send the same
// value there. So the first pass counts these numbers to find out whether they can be trusted in this run.
// The second pass collects the evidence about each controller, message by message, and calls Judge
// (results/verdict.h), as the window does for the tool tips of its rows.
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
      for (const auto& [entry, other] : foreignAnswers_)
        AddNote(*entry, "from controller " + std::to_string(other));
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
      const auto other = numbers_.Add(message.controller, BytesOf(log_, entry));
      if (other) foreignAnswers_.emplace_back(&entry, *other);
      if (other) evidence_[message.controller].otherController = other;
    });
  }

  void Judge(const LoggedMessage& message) {
    Evidence& evidence = evidence_[message.controller];
    AddEvidence(message, evidence);
    if (message.outcome == Outcome::kRefused) MarkRefusal(message);
    if (message.checksum == ChecksumMatch::kSame) NoteVerdict(message, evidence);
  }

  static void AddEvidence(const LoggedMessage& message, Evidence& evidence) {
    const bool accepted = message.outcome == Outcome::kGood;
    if (message.request == RequestKind::kErase && accepted) evidence.erasure = Erasure::kDone;
    if (message.request == RequestKind::kBatch) {
      ++evidence.batches;
      evidence.batchesAcknowledged += accepted ? 1 : 0;
    }
    if (message.request == RequestKind::kFullChecksum) {
      if (accepted) evidence.checksumConfirmed = true;
      if (message.outcome == Outcome::kRefused) evidence.checksumConfirmed = false;
    }
  }

  /// Adds the verdict on the controller to the answers of a check that reports the checksum that was sent.
  /// `evidence` is a copy: what is set here applies to this verdict only.
  void NoteVerdict(const LoggedMessage& check, Evidence evidence) {
    // The tool sends the full checksum after the last batch. So the log of a serial download contains all
    // batches unless its beginning, and with it the erase, is cut off. With 0 batches the verdict does not
    // claim that each was acknowledged.
    if (evidence.erasure != Erasure::kDone) evidence.batches = 0;
    evidence.kind = RunKind::kParallel;  // also for a serial download; the two are judged alike
    evidence.row = RowContent::kFlash;
    if (!numbers_.OtherNumbersAreEvidence()) evidence.otherController.reset();
    const Verdict verdict = quillon::Judge(evidence);
    ForEachAnswer(check, [&](LogEntry& entry, const Answer& answer) {
      if (answer.verdict != AnswerVerdict::kGood) return;
      if (verdict.good) {
        log_.notes[entry.offset] = verdict.evidence;
      } else {
        AddNote(entry, verdict.word + ": " + verdict.reason);
      }
    });
  }

  /// Marks the last answer to a message that stays refused.
  void MarkRefusal(const LoggedMessage& message) {
    LogEntry* last = nullptr;
    ForEachAnswer(message, [&](LogEntry& entry, const Answer&) { last = &entry; });
    if (last != nullptr) last->doubtful = true;
  }

  /// Marks an answer as doubtful.
  void AddNote(LogEntry& entry, const std::string& note) {
    entry.doubtful = true;
    log_.notes[entry.offset] = note;
  }

  ParsedLog& log_;
  const Run& run_;
  AnswerNumbers numbers_;
  std::vector<std::pair<LogEntry*, int>> foreignAnswers_;
  std::map<int, Evidence> evidence_;
};

}  // namespace

void MarkDoubts(ParsedLog& log, const std::vector<Run>& runs) {
  for (const Run& run : runs) RunDoubts(log, run).Mark();
}

}  // namespace quillon
