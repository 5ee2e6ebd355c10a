#include "commands/programming.h"
#include "image/batch_reader.h"
#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::FlashProg() {
  Log("Programming 5F without answer");
  std::string file;
  Try([&] { file = ReadFile(FileName.Text()); });
  BatchReader batches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    ShowProgress(" Programming Batch " + std::to_string(batchNumber) + "   ", true);
    Yield();
    if (AbortRequested) return;
    // What can't be read or framed must not reach a controller: the pass goes on with the next batch.
    if (Try([&] { FrameBuffer = BatchFrame(kBroadcast, batches.Next()); })) BroadcastBatch();
  }
  Try([&] { FlushInput(); });
  for (int y = 0; y < kControllers; ++y) {
    if (C(y).Ticked() && !AbortRequested) ConfirmImage(y);
  }
  message.Unload();
}

/// Sends the batch in hand to all, and gives them the time of `Text2`: nobody answers, so this pause is the
/// only flow control there is. No event is served in it.
void Quillon::BroadcastBatch() {
  Log(ByteArrayToHex(FrameBuffer, false));
  Try([&] {
    MSComm1.SetInputMode(SerialControl::kRawBytes);
    MSComm1.Output(FrameBuffer);
  });
  Try([&] {
    const double sent = clock_.Now();
    clock_.SleepUntil(sent + ToInteger(Text2.Text(), "Parallel Waiting Delay") / 1000.0);
  });
}

void Quillon::ConfirmImage(int y) {
  Try([&] {
    if (SendFullChecksum(y, " : Sending Full CheckSum ", "Message : $75 Sending Full checksum") != kRefused)
      return;
    Log("Answer : Failure 3*E1");
    ReportFailure(y, kCommunicationFailure);
  });
}

}  // namespace quillon
