// Judges the evidence that a run has found about one controller. The first of these that applies is the
// verdict:
//
//     FailureOf         it was not asked or not read, an exchange failed, or its checksum is not the file's
//     ContradictionOf   nothing failed, but pieces of the evidence disagree
//     GradeOf           nothing failed or disagrees: how strong the evidence is, or too weak
//
// `row` in the evidence is what the table `Info` shows for the controller. verdict.h has a table of all
// verdicts.
#include "results/verdict.h"

#include <utility>

namespace quillon {
namespace {

constexpr const char* kLoadAgain = "load it again with a serial download";

Verdict Bad(const char* word, std::string reason, const char* advice) {
  return {.good = false, .word = word, .evidence = "", .reason = std::move(reason), .advice = advice};
}

Verdict Good(const char* word, const char* evidence, std::string reason, const char* advice = "") {
  return {.good = true, .word = word, .evidence = evidence, .reason = std::move(reason), .advice = advice};
}

/// How far the download of a controller came before its last step failed.
std::string DownloadState(const Evidence& evidence) {
  if (evidence.checksumConfirmed == true) return ", but it confirmed the full checksum";
  switch (evidence.erasure) {
    case Erasure::kDone:
      return ", and it is erased";
    case Erasure::kPossible:
      return ", and it may be erased";
    case Erasure::kNone:
      break;
  }
  return IsDownload(evidence.kind) ? ", and it was not erased" : "";
}

Verdict JudgeRefusal(const Evidence& evidence) {
  switch (evidence.last->command) {
    case Command::kBatch:
      return Bad("refused", "it refused a batch", kLoadAgain);
    case Command::kFullChecksum:
      return Bad("refused", "it refused the full checksum", kLoadAgain);
    default:  // the erase, or a change of the protocol: scripts depend on one word for both
      return Bad("erase-refused", "it refused the command" + DownloadState(evidence),
                 "switch its power off and on, then try again");
  }
}

/// The verdict when the last exchange failed.
Verdict JudgeFailure(const Evidence& evidence) {
  const Reply reply = evidence.last ? evidence.last->reply : Reply::kNoAnswer;
  if (reply == Reply::kRefused) return JudgeRefusal(evidence);
  if (reply == Reply::kDamaged) {
    return Bad("damaged-answers", "its answers were damaged" + DownloadState(evidence),
               "check termination and shielding, and look for two controllers with this number");
  }
  const char* reason =
      reply == Reply::kCancelled ? "the run was cancelled before it answered" : "it did not answer";
  return Bad("no-answer", reason + DownloadState(evidence),
             "check power, cable, number and protocol; for an erase set a longer time-out");
}

Verdict JudgeUnread(const Evidence& evidence) {
  if (!IsDownload(evidence.kind))
    return Bad("not-read", "it was not read", "remove the cause, then read it again");
  const std::string reason =
      evidence.cancelled ? "the run ended before it was read back" : "it was not read back";
  const bool unchanged = evidence.erasure == Erasure::kNone;
  const char* load = unchanged ? "load it when the cause is removed" : "load it again";
  return Bad("not-read", reason + DownloadState(evidence),
             evidence.checksumConfirmed == true ? "read it again" : load);
}

/// The verdict when the read checksum differs from that of the file.
Verdict JudgeDifference(const Evidence& evidence) {
  const std::string reason =
      "it reports the checksum " + evidence.checksum + ", not " + evidence.fileChecksum + " of the file";
  if (IsDownload(evidence.kind)) return Bad("not-programmed", reason, kLoadAgain);
  return Bad("other-image", reason, "load the file if that is the one it should hold");
}

/// The failure of the controller; nothing when it was read, found or changed its protocol.
std::optional<Verdict> FailureOf(const Evidence& evidence) {
  const bool failed = evidence.last && evidence.last->reply != Reply::kAccepted;
  switch (evidence.kind) {
    case RunKind::kToProtocol4:
    case RunKind::kToProtocol3:
      if (!evidence.last)
        return Bad("not-read", "it was not asked to move", "remove the cause, then try again");
      return failed ? std::optional(JudgeFailure(evidence)) : std::nullopt;
    case RunKind::kAuto:
      return evidence.foundAt ? std::nullopt : std::optional(JudgeFailure(evidence));
    default:
      break;
  }
  if (evidence.row == RowContent::kNothing) return JudgeUnread(evidence);
  // A row shows a failure for two reasons: an exchange failed, or the checksum differs from that of the file.
  const bool exchangeFailed = failed || evidence.checksum.empty();
  if (evidence.row == RowContent::kFailure && exchangeFailed) return JudgeFailure(evidence);
  const bool compared =
      IsDownload(evidence.kind) || (evidence.kind == RunKind::kFlashInfo && !evidence.fileChecksum.empty());
  if (compared && evidence.checksum != evidence.fileChecksum) return JudgeDifference(evidence);
  return std::nullopt;
}

/// The contradiction in the evidence about a controller without a failure.
std::optional<Verdict> ContradictionOf(const Evidence& evidence) {
  constexpr const char* kWord = "contradictory";
  if (evidence.otherController) {
    return Bad(kWord,
               "an answer to its frames came from controller " + std::to_string(*evidence.otherController),
               IsDownload(evidence.kind) ? "load it again with a longer time-out"
                                         : "read it again with a longer time-out");
  }
  if (evidence.differentReadings)
    return Bad(kWord, "two of its answers differ", "look for two controllers with this number");
  if (evidence.checksumConfirmed == false) {
    return Bad(kWord,
               "it refused the full checksum, although the checksum that it reports is that of the file",
               kLoadAgain);
  }
  return std::nullopt;
}

/// The grade after a download with a matching checksum.
Verdict GradeLoaded(const Evidence& evidence) {
  if (!evidence.checksumConfirmed) {
    return Bad("unconfirmed",
               "it neither confirmed nor refused the full checksum; the checksum that it reports is that of "
               "the file",
               kLoadAgain);
  }
  if (evidence.batches > 0 && evidence.batchesAcknowledged == evidence.batches) {
    return Good("good", "proven",
                "it acknowledged every batch, confirmed the full checksum and reads back equal to the file");
  }
  return Good("good", "confirmed", "it confirmed the full checksum and reads back equal to the file");
}

/// The grade of a controller without a failure or a contradiction.
Verdict GradeOf(const Evidence& evidence) {
  switch (evidence.kind) {
    case RunKind::kParallel:
    case RunKind::kSerial:
      return GradeLoaded(evidence);
    case RunKind::kFlashInfo:
      if (!evidence.fileChecksum.empty())
        return Good("good", "read-back", "it reads back equal to the file; this run loaded nothing");
      return Good("read", "", "it was read; there is no file to compare it with",
                  "to know whether it is complete, choose its file and read it again");
    case RunKind::kBootInfo:
      return Good("read", "", "its boot code was read");
    case RunKind::kAuto:
      return Good("found", "", "it answered at " + *evidence.foundAt + " bits per second");
    case RunKind::kToProtocol4:
    case RunKind::kToProtocol3:
      break;
  }
  return Good("moved", "", "it accepted the other protocol");
}

}  // namespace

Verdict Judge(const Evidence& evidence) {
  auto problem = FailureOf(evidence);
  if (!problem) problem = ContradictionOf(evidence);
  Verdict verdict = problem ? *problem : GradeOf(evidence);
  const bool usesFile = IsDownload(evidence.kind) || evidence.kind == RunKind::kFlashInfo;
  if (usesFile && !evidence.fileFault.empty())
    verdict.reason += "; the file contradicts itself: " + evidence.fileFault;
  return verdict;
}

/// `gap` names the batches that may be missing; empty if none is known.
std::string Describe(const Verdict& verdict, const std::string& gap) {
  return verdict.word + ": " + verdict.reason + (gap.empty() ? "" : "; " + gap) +
         (verdict.advice.empty() ? "" : "; " + verdict.advice);
}

}  // namespace quillon
