// The programming pass of a serial download: one controller, each batch answered before the next one leaves.
// The answers are the flow control, so no delay is needed; the price is an answer's pause for every batch.
#include "commands/frames.h"
#include "image/batch_reader.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::FlashProg00(int& y) {
  Try([&] {
    Log("******** PROGRAMMATION DU CTRL " + std::to_string(y) + " **********");
    if (!SendBatches(y)) return;
    FlushInput();
    ConfirmImageAlone(y);
    message.Unload();
  });
}

/// True: `y` took all batches. False: the operator cancelled, or `y` did not take one; `Message` is closed.
bool Quillon::SendBatches(int y) {
  const std::string file = ReadFile(FileName.Text());
  BatchReader batches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    const std::string number = std::to_string(batchNumber);
    ShowProgress(ControllerText(y) + " : Programming Batch " + number + "   ", StatusForm::kBrief);
    Yield();
    if (AbortRequested) return false;  // Cancel has closed `Message`
    FrameBuffer = BatchFrame(y, batches.Next());
    LogFrame("Message : $75 - Programmation Batch " + number, FrameBuffer);
    if (!SendBatch(y, FrameBuffer)) {
      message.Unload();
      return false;
    }
  }
  return true;
}

/// True: `y` took the batch. A controller that fell silent ends the pass without a word: the run then reads
/// its flash back (FlashCheck), and its row shows what came of it.
bool Quillon::SendBatch(int y, const Bytes& frame) {
  const ExchangeResult result = SendForAcknowledge(frame);
  if (result == ExchangeResult::kAnswered) Log("Answer : 61");
  if (result == ExchangeResult::kRefused) {
    Log("Answer : Failure 3*E1");
    ReportFailure(y, FailureCode::kCommunicationFailure);
  }
  return result == ExchangeResult::kAnswered;
}

void Quillon::ConfirmImageAlone(int y) {
  const auto result = SendFullChecksum(y, " : Sending full CheckSum ", "Message : $75 Sending Full Checksum");
  if (result != ExchangeResult::kRefused) return;
  Log(ExchangeResultText(result));
  ReportFailure(y, FailureCode::kCommunicationFailure);
}

}  // namespace quillon
