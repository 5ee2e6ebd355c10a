// The programming pass of a serial download: sends each batch until the controller acknowledges it, then the
// full checksum. Because the controller acknowledges each batch, no delay is needed between batches. But the
// tool waits 0.5 s for the end of each answer.
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

/// Returns whether `y` acknowledged the batch. A missing or damaged answer is not shown: the run reads the
/// flash next (FlashCheck), and the controller's row in the table window `Info` shows what was read.
bool SendBatch(Quillon& form, int y, const Bytes& frame) {
  ExchangeResult result{};
  // If the serial device fails here, the error text reports that one controller is erased.
  WhileErased(1, [&] { result = SendForAcknowledge(form, Command::kBatch, y, frame); });
  if (result == ExchangeResult::kAnswered) Log(form, "Answer : 61");
  if (result == ExchangeResult::kRefused) {
    Log(form, "Answer : Failure 3*E1");
    ReportFailure(form, y, FailureCode::kCommunicationFailure);
  }
  return result == ExchangeResult::kAnswered;
}

/// Returns whether `y` acknowledged all batches. If not, or after Cancel, the window `Message` is closed.
bool SendBatches(Quillon& form, int y) {
  const std::string file = ReadFile(form.FileName.Text());
  BatchReader batches(file);
  const int count = CountBatches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    const std::string number = std::to_string(batchNumber);
    form.message.ShowSent(batchNumber, count);
    ShowProgress(form, ControllerText(y) + " : Programming Batch " + number + "   ", StatusForm::kBrief);
    form.run.Yield();
    if (form.AbortRequested) return false;  // Cancel has closed `Message`
    form.Report(BatchBegun{y, batchNumber, count});
    form.FrameBuffer = BatchFrame(y, batches.Next());
    LogFrame(form, "Message : $75 - Programmation Batch " + number, form.FrameBuffer);
    if (!SendBatch(form, y, form.FrameBuffer)) {
      form.message.Unload();
      return false;
    }
  }
  return true;
}

void ConfirmImage(Quillon& form, int y) {
  const auto result =
      SendFullChecksum(form, y, " : Sending full CheckSum ", "Message : $75 Sending Full Checksum");
  if (result != ExchangeResult::kRefused) return;
  Log(form, ExchangeResultText(result));
  ReportFailure(form, y, FailureCode::kCommunicationFailure);
}

}  // namespace

void FlashProg00(Quillon& form, int& y) {
  const PhaseScope phase(form, y, Phase::kProgram);
  Try(form, [&] {
    Log(form, "******** PROGRAMMATION DU CTRL " + std::to_string(y) + " **********");
    if (!SendBatches(form, y)) return;
    FlushInput(form);
    ConfirmImage(form, y);
    form.message.Unload();
  });
}

}  // namespace quillon
