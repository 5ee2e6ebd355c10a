// The programming pass of a serial download, for one controller:
//
//     for each batch   send it; after a refusal send it again, after the third one end the pass
//     at the end       send the checksum of the whole image; the controller compares it
//
// The controller acknowledges each batch. So the delay between batches that a parallel download needs is not
// needed here, but each exchange waits 0.5 s for the end of the answer.
#include "commands/flash_prog00.h"

#include <string>

#include "commands/acknowledge.h"
#include "commands/erased.h"
#include "commands/flash_prog.h"
#include "commands/frames.h"
#include "image/batch_reader.h"
#include "link/log.h"
#include "link/outcome.h"

namespace quillon {
namespace {

/// Returns whether the controller acknowledged the batch. A missing or damaged answer is not shown here:
/// the run reads the flash next, and the row then shows the result.
bool SendBatch(Quillon& form, int controller, const Bytes& frame) {
  ExchangeResult result{};
  const int erased = 1;  // controller: if the device fails, the box says how many are left erased
  WhileErased(erased, [&] { result = SendForAcknowledge(form, Command::kBatch, controller, frame); });
  if (result == ExchangeResult::kAnswered) Log(form, "Answer : 61");
  if (result == ExchangeResult::kRefused) {
    Log(form, "Answer : Failure 3*E1");
    ReportFailure(form, controller, FailureCode::kCommunicationFailure);
  }
  return result == ExchangeResult::kAnswered;
}

/// Returns whether the controller acknowledged all batches. If not, `Message` is closed, by Cancel or here.
bool SendBatches(Quillon& form, int controller) {
  const std::string file = ReadFile(form.FileName.Text());
  BatchReader batches(file);
  const int count = CountBatches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    const std::string number = std::to_string(batchNumber);
    form.message.ShowSent(batchNumber, count);
    ShowProgress(form, ControllerText(controller) + " : Programming Batch " + number + "   ",
                 StatusForm::kBrief);
    form.run.Yield();
    if (form.AbortRequested) return false;  // Cancel has closed `Message`
    form.Report(BatchBegun{controller, batchNumber, count});
    form.FrameBuffer = BatchFrame(controller, batches.Next());
    LogFrame(form, "Message : $75 - Programmation Batch " + number, form.FrameBuffer);
    if (!SendBatch(form, controller, form.FrameBuffer)) {
      form.message.Unload();
      return false;
    }
  }
  return true;
}

void ConfirmImage(Quillon& form, int controller) {
  const auto result =
      SendFullChecksum(form, controller, " : Sending full CheckSum ", "Message : $75 Sending Full Checksum");
  if (result != ExchangeResult::kRefused) return;
  Log(form, ExchangeResultText(result));
  ReportFailure(form, controller, FailureCode::kCommunicationFailure);
}

}  // namespace

void FlashProg00(Quillon& form, int controller) {
  const PhaseScope phase(form, controller, Phase::kProgram);
  Try(form, [&] {
    Log(form, "******** PROGRAMMATION DU CTRL " + std::to_string(controller) + " **********");
    if (!SendBatches(form, controller)) return;
    FlushInput(form);
    ConfirmImage(form, controller);
    form.message.Unload();
  });
}

}  // namespace quillon
