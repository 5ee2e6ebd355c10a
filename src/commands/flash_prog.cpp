// The programming pass of a parallel download: broadcasts the batches, then asks each ticked controller
// (`C(y)`) to confirm the checksum. A broadcast has no answer, so the tool cannot know when the slowest
// controller has written a batch. The delay in the box `Text2` after each batch is the only flow control.
// `MSComm1` is the serial port.
#include "commands/flash_prog.h"

#include <string>

#include "commands/acknowledge.h"
#include "commands/erased.h"
#include "commands/frames.h"
#include "image/batch_reader.h"
#include "image/hex_file.h"
#include "link/log.h"
#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"

namespace quillon {
namespace {

int TickedControllers(const Quillon& form) {
  int count = 0;
  for (int y = 0; y < kControllers; ++y) count += form.C(y).Ticked() ? 1 : 0;
  return count;
}

/// Sends a batch to all controllers and sleeps for `Text2` milliseconds, without handling window events.
void BroadcastBatch(Quillon& form, const Bytes& frame) {
  Log(form, ByteArrayToHex(frame));
  Try(form, [&] {
    WhileErased(TickedControllers(form), [&] {
      form.MSComm1.SetInputMode(SerialControl::kRawBytes);
      form.MSComm1.Output(frame);
    });
    form.Report(FrameSent{frame, 1});
  });
  Try(form, [&] {
    const double sent = form.clock.Now();
    form.clock.SleepUntil(sent + ToInteger(form.Text2.Text(), "Parallel Waiting Delay") / 1000.0);
  });
}

void ConfirmImage(Quillon& form, int y) {
  Try(form, [&] {
    const auto result =
        SendFullChecksum(form, y, " : Sending Full CheckSum ", "Message : $75 Sending Full checksum");
    if (result != ExchangeResult::kRefused) return;
    Log(form, "Answer : Failure 3*E1");
    ReportFailure(form, y, FailureCode::kCommunicationFailure);
  });
}

}  // namespace

void FlashProg(Quillon& form) {
  Log(form, "Programming 5F without answer");
  std::string file;
  Try(form, [&] { file = ReadFile(form.FileName.Text()); });  // an unreadable file counts as empty
  BatchReader batches(file);
  const int count = CountBatches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    form.message.ShowSent(batchNumber, count);
    ShowProgress(form, " Programming Batch " + std::to_string(batchNumber) + "   ", StatusForm::kBrief);
    form.run.Yield();
    if (form.AbortRequested) return;  // Cancel has closed `Message`
    form.Report(BatchBegun{kEveryController, batchNumber, count});
    // A batch that can't be read, or is too long for a frame, is not sent.
    if (Try(form, [&] { form.FrameBuffer = BatchFrame(kBroadcast, batches.Next()); }))
      BroadcastBatch(form, form.FrameBuffer);
  }
  Try(form, [&] { FlushInput(form); });
  for (int y = 0; y < kControllers; ++y) {
    if (form.C(y).Ticked() && !form.AbortRequested) ConfirmImage(form, y);
  }
  form.message.Unload();
}

ExchangeResult SendFullChecksum(Quillon& form, int y, const char* status, const char* logLine) {
  const PhaseScope phase(form, y, Phase::kConfirm);
  ShowProgress(form, ControllerText(y) + status, StatusForm::kBrief);
  form.FrameBuffer = FullChecksumFrame(y, AnalyseHexFile(form));
  LogFrame(form, logLine, form.FrameBuffer);
  const auto showInRow = [&](ExchangeResult result) { ReportFailure(form, y, FailureOf(result)); };
  const ExchangeResult result =
      SendForAcknowledge(form, Command::kFullChecksum, y, form.FrameBuffer, showInRow);
  if (result == ExchangeResult::kAnswered) Log(form, "Answer : 61");
  return result;
}

}  // namespace quillon
