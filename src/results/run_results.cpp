// Collects the evidence about each controller from the events of a run; Judge (verdict.h) makes a verdict of
// it. No event alone decides: a controller can refuse the full checksum and yet report the right one. So the
// events set fields of the Evidence, and a verdict is made of all of them: when it is requested, and at the
// end of a download, whose verdict is kept.
#include "results/run_results.h"

namespace quillon {

void RunResults::OnRunEvent(const RunEvent& event) {
  std::visit([this](const auto& what) { On(what); }, event.what);
}

std::vector<int> RunResults::Controllers() const {
  if (started_.kind != RunKind::kAuto) return started_.controllers;
  std::vector<int> found;
  for (int controller = 0; controller < kControllers; ++controller) {
    if (evidence_[static_cast<std::size_t>(controller)].foundAt) found.push_back(controller);
  }
  return found;
}

Evidence RunResults::EvidenceOf(int controller) const {
  Evidence evidence = evidence_[static_cast<std::size_t>(controller)];
  // Some controllers put a fixed value where an answer should contain the number of its sender.
  if (!numbers_.OtherNumbersAreEvidence()) evidence.otherController.reset();
  return evidence;
}

Verdict RunResults::VerdictOf(int controller) const {
  const Evidence evidence = EvidenceOf(controller);
  Verdict verdict = Judge(evidence);
  const auto& download = downloads_[static_cast<std::size_t>(controller)];
  // After a failed download, reading does not improve the verdict.
  const bool downloadFailed = verdict.good && !IsDownload(evidence.kind) && download &&
                              !download->verdict.good && download->fileChecksum == evidence.fileChecksum;
  return downloadFailed ? download->verdict : verdict;
}

void RunResults::On(const RunStarted& event) {
  started_ = event;
  Evidence evidence;
  evidence.kind = event.kind;
  evidence.fileChecksum = event.fileChecksum;
  evidence.fileFault = event.fileFault;
  evidence_.fill(evidence);
  numbers_ = {};
}

void RunResults::On(const ControllerBegun& event) {
  // The erase frame is sent right after this event. Until it answers, the controller may or may not
  // be erased.
  if (event.phase == Phase::kErase) At(event.controller).erasure = Erasure::kPossible;
}

void RunResults::On(const ControllerFound& event) { At(event.controller).foundAt = event.speed; }

void RunResults::On(const SpeedChanged&) { speedChanged_ = true; }

void RunResults::On(const AnswerReceived& event) {
  if (event.judgement != Judgement::kGood) return;
  if (const auto other = numbers_.Add(event.controller, event.bytes))
    At(event.controller).otherController = other;
}

void RunResults::On(const CommandAnswered& event) {
  Evidence& evidence = At(event.controller);
  const bool accepted = event.reply == Reply::kAccepted;
  // A controller that refused, or whose answers were damaged, is asked again at the other speeds. No answer
  // there is expected, so it does not replace what was received before.
  const bool received = evidence.last && evidence.last->command == event.command &&
                        (evidence.last->reply == Reply::kRefused || evidence.last->reply == Reply::kDamaged);
  if (received && speedChanged_ && event.reply == Reply::kNoAnswer) return;
  speedChanged_ = false;
  evidence.last = {event.command, event.reply};
  if (event.command == Command::kFlashErase && accepted) evidence.erasure = Erasure::kDone;
  if (event.command == Command::kBatch && accepted) ++evidence.batchesAcknowledged;
  if (event.command == Command::kFullChecksum && (accepted || event.reply == Reply::kRefused))
    evidence.checksumConfirmed = accepted;
}

void RunResults::On(const BatchBegun& event) {
  if (event.controller != kEveryController) At(event.controller).batches = event.of;
}

void RunResults::On(const RowFilled& event) {
  Evidence& evidence = At(event.controller);
  evidence.row = event.content;
  evidence.rowVersion = event.version;
  evidence.rowChecksum = event.checksum;
  if (event.content != RowContent::kFlash && event.content != RowContent::kBoot) return;
  const bool first = evidence.version.empty();
  if (!first && (evidence.version != event.version || evidence.checksum != event.checksum))
    evidence.differentReadings = true;
  evidence.version = event.version;
  evidence.checksum = event.checksum;
}

void RunResults::On(const RunEnded& event) {
  for (int controller = 0; controller < kControllers; ++controller)
    At(controller).cancelled = event.how != RunEnded::How::kFinished;
  if (!IsDownload(started_.kind)) return;
  for (const int controller : started_.controllers)
    downloads_[static_cast<std::size_t>(controller)] = {started_.fileChecksum, Judge(EvidenceOf(controller))};
}

}  // namespace quillon
