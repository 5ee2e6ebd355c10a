// The programming pass of a parallel download: one stream of batches to all controllers at once.
//
// A broadcast has no answer: 32 controllers that answered together would drown each other. So the tool cannot
// know when the slowest of them has written a batch into its flash. The delay of `Text2` after each batch is
// the only flow control there is. It has to cover the batch's own time on the line, 160 ms for 140 bytes of
// 11 bits at 9600, and the writing. Whether all arrived is asked afterwards, of each controller alone, by the
// full checksum: it finds every gap.
//
// Nothing ends the stream early but the operator. A step that fails shows its box, and the next one is taken:
// the controllers are erased already, and those that heard the batch wait for the next.
#include "commands/frames.h"
#include "image/batch_reader.h"
#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::FlashProg() {
  Log("Programming 5F without answer");
  std::string file;
  Try([&] { file = ReadFile(FileName.Text()); });  // one that can't be read counts as empty
  BatchReader batches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    ShowProgress(" Programming Batch " + std::to_string(batchNumber) + "   ", StatusForm::kBrief);
    Yield();
    if (AbortRequested) return;  // Cancel has closed `Message`
    // What can't be read or framed must not reach a controller: the pass goes on with the next batch.
    if (Try([&] { FrameBuffer = BatchFrame(kBroadcast, batches.Next()); })) BroadcastBatch(FrameBuffer);
  }
  Try([&] { FlushInput(); });
  for (int y = 0; y < kControllers; ++y) {
    if (C(y).Ticked() && !AbortRequested) ConfirmImage(y);
  }
  message.Unload();
}

/// Sends a batch to all and gives them the time of `Text2`. No event is served in it.
void Quillon::BroadcastBatch(const Bytes& frame) {
  Log(ByteArrayToHex(frame));
  Try([&] {
    MSComm1.SetInputMode(SerialControl::kRawBytes);
    MSComm1.Output(frame);
  });
  Try([&] {
    const double sent = clock_.Now();
    clock_.SleepUntil(sent + ToInteger(Text2.Text(), "Parallel Waiting Delay") / 1000.0);
  });
}

void Quillon::ConfirmImage(int y) {
  Try([&] {
    const auto result =
        SendFullChecksum(y, " : Sending Full CheckSum ", "Message : $75 Sending Full checksum");
    if (result != ExchangeResult::kRefused) return;
    Log("Answer : Failure 3*E1");
    ReportFailure(y, FailureCode::kCommunicationFailure);
  });
}

/// Has `y` confirm the image's checksum, and tells each exchange in its row.
ExchangeResult Quillon::SendFullChecksum(int y, const char* status, const char* logLine) {
  ShowProgress(ControllerText(y) + status, StatusForm::kBrief);
  FrameBuffer = FullChecksumFrame(y, AnalyseHexFile());
  LogFrame(logLine, FrameBuffer);
  const auto tellInRow = [&](ExchangeResult result) { ReportFailure(y, FailureOf(result)); };
  const ExchangeResult result = SendForAcknowledge(FrameBuffer, tellInRow);
  if (result == ExchangeResult::kAnswered) Log("Answer : 61");
  return result;
}

}  // namespace quillon
