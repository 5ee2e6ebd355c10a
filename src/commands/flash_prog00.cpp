#include "commands/programming.h"
#include "image/batch_reader.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::FlashProg00(int& y) {
  Try([&] {
    Log("******** PROGRAMMATION DU CTRL " + std::to_string(y) + " **********");
    const std::string file = ReadFile(FileName.Text());
    BatchReader batches(file);
    for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
      const std::string number = std::to_string(batchNumber);
      ShowProgress(ControllerText(y) + " : Programming Batch " + number + "   ", true);
      Yield();
      if (AbortRequested) return;
      FrameBuffer = BatchFrame(y, batches.Next());
      LogMessage("Message : $75 - Programmation Batch " + number);
      if (!BatchTaken(y)) {
        message.Unload();
        return;
      }
    }
    FlushInput();
    if (SendFullChecksum(y, " : Sending full CheckSum ", "Message : $75 Sending Full Checksum") == kRefused) {
      Log(ExchangeResultText(kRefused));
      ReportFailure(y, kCommunicationFailure);
    }
    message.Unload();
  });
}

/// Sends the batch in hand. A silent controller is not reported here: the closing check will tell.
bool Quillon::BatchTaken(int y) {
  const int outcome = SendForAcknowledge();
  if (outcome == kAnswered) Log("Answer : 61");
  if (outcome == kRefused) {
    Log("Answer : Failure 3*E1");
    ReportFailure(y, kCommunicationFailure);
  }
  return outcome == kAnswered;
}

}  // namespace quillon
