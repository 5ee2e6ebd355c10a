#pragma once

#include <optional>
#include <string>

#include "forms/run_events.h"

namespace quillon {

/// The progress of the erase of a controller.
enum class Erasure {
  kNone,      ///< no erase frame was sent: the flash is unchanged
  kPossible,  ///< the controller did not acknowledge the erase frame
  kDone,
};

/// A command and the reply to it.
struct CommandReply {
  Command command;
  Reply reply;
};

/// The facts that one run found about one controller. RunResults and quillon-log collect them.
struct Evidence {
  RunKind kind = RunKind::kFlashInfo;
  std::string fileChecksum;  ///< four digits; empty when no file is chosen
  std::string fileFault;     ///< the first fault of a damaged file; else empty
  bool cancelled = false;    ///< the run ended before its last step

  Erasure erasure = Erasure::kNone;
  int batches = 0;                        ///< of the image; 0 in a parallel download, which broadcasts them
  int batchesAcknowledged = 0;            ///< of them
  std::optional<bool> checksumConfirmed;  ///< the last answer to the full checksum: confirmed or refused
  std::optional<CommandReply> last;       ///< the last reply to any command

  /// The row in `Info` at the end of the run.
  RowContent row = RowContent::kNothing;
  std::string rowVersion;
  std::string rowChecksum;
  /// What the controller reported last, or empty. The row may contain a later failure.
  std::string version;
  std::string checksum;
  bool differentReadings = false;      ///< it reported two different versions or checksums
  std::optional<int> otherController;  ///< the number in an answer that came from another controller
  std::optional<std::string> foundAt;  ///< the speed at which Auto found it, in bits per second
};

/// The verdict on one controller. Words and grades of evidence:
///
///     word           evidence   good   when
///     good           proven     yes    it acknowledged every batch, confirmed the full checksum and reads
///                                      back equal to the file
///     good           confirmed  yes    the same without the batches, which are broadcast
///     good           read-back  yes    reads back equal to the file; this run loaded nothing
///     read                      yes    was read; there is nothing to compare with
///     found                     yes    answered in Auto
///     moved                     yes    accepted the other protocol
///     contradictory             no     the last reply to the full checksum was a refusal, or an answer came
///                                      from another controller, or two readings differ
///     unconfirmed               no     loaded and reads back equal, but neither confirmed nor refused the
///                                      full checksum
///     not-programmed            no     was loaded and reads back different from the file
///     other-image               no     reads back different from the file; this run loaded nothing
///     refused                   no     refused a batch or the full checksum, and was not read afterwards
///     erase-refused             no     refused to be erased or moved
///     damaged-answers           no     its answers were damaged
///     no-answer                 no     it did not answer
///     not-read                  no     the run ended before it was read
///
/// The words do not change between versions: scripts and records depend on them.
struct Verdict {
  bool good = false;
  std::string word;
  std::string evidence;  ///< the grade of a good controller; empty for the other words
  std::string reason;    ///< one sentence without its full stop
  std::string advice;    ///< what to do next; empty when nothing is to be done
};

/// The verdict for the evidence of one run.
Verdict Judge(const Evidence& evidence);

/// "no-answer: it did not answer; check power, cable, number and protocol". `gap` is what could explain
/// another checksum; it follows the reason.
std::string Describe(const Verdict& verdict, const std::string& gap = "");

}  // namespace quillon
