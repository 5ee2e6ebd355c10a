// The programming pass of a parallel download:
//
//     for each batch               broadcast the frame, wait `Text2` milliseconds
//     for each ticked controller   send the checksum of the whole image; the controller compares it
//
// A broadcast has no answer, so the tool cannot detect when the slowest controller has written a batch. The
// delay is the only flow control. The full checksum then finds the controllers that missed a batch.
//
// `C(n)` is the check box of controller n, `Text2` the box of the delay, `MSComm1` the serial port.
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

/// The controllers that take part. They are erased while the pass is executed.
int TickedControllers(const Quillon& form) {
  int count = 0;
  for (int controller = 0; controller < kControllers; ++controller) {
    if (form.C(controller).Ticked()) ++count;
  }
  return count;
}

/// Sends a batch to all controllers and sleeps for `Text2` milliseconds, without handling window events. A
/// failure shows the run-error box, and the pass continues: the controllers are already erased.
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
    const double delay = ToInteger(form.Text2.Text(), "Parallel Waiting Delay") / 1000.0;  // seconds
    form.clock.SleepUntil(sent + delay);
  });
}

/// Returns false after Cancel, which has closed `Message`.
bool BroadcastImage(Quillon& form) {
  std::string file;
  Try(form, [&] { file = ReadFile(form.FileName.Text()); });  // an unreadable file counts as empty
  BatchReader batches(file);
  const int count = CountBatches(file);
  for (int batchNumber = 1; !batches.AtEnd(); ++batchNumber) {
    form.message.ShowSent(batchNumber, count);
    ShowProgress(form, " Programming Batch " + std::to_string(batchNumber) + "   ", StatusForm::kBrief);
    form.run.Yield();
    if (form.AbortRequested) return false;
    form.Report(BatchBegun{kEveryController, batchNumber, count});
    // A batch that can't be read, or is too long for a frame, is not sent.
    if (Try(form, [&] { form.FrameBuffer = BatchFrame(kBroadcast, batches.Next()); }))
      BroadcastBatch(form, form.FrameBuffer);
  }
  return true;
}

void ConfirmImage(Quillon& form, int controller) {
  Try(form, [&] {
    const auto result = SendFullChecksum(form, controller, " : Sending Full CheckSum ",
                                         "Message : $75 Sending Full checksum");
    if (result != ExchangeResult::kRefused) return;
    Log(form, "Answer : Failure 3*E1");
    ReportFailure(form, controller, FailureCode::kCommunicationFailure);
  });
}

}  // namespace

void FlashProg(Quillon& form) {
  Log(form, "Programming 5F without answer");
  if (!BroadcastImage(form)) return;
  Try(form, [&] { FlushInput(form); });
  for (int controller = 0; controller < kControllers; ++controller) {
    if (form.C(controller).Ticked() && !form.AbortRequested) ConfirmImage(form, controller);
  }
  form.message.Unload();
}

ExchangeResult SendFullChecksum(Quillon& form, int controller, const char* status, const char* logLine) {
  const PhaseScope phase(form, controller, Phase::kConfirm);
  ShowProgress(form, ControllerText(controller) + status, StatusForm::kBrief);
  form.FrameBuffer = FullChecksumFrame(controller, AnalyseHexFile(form));
  LogFrame(form, logLine, form.FrameBuffer);
  // Also after a refusal: the row is then empty while the checksum is sent again.
  const auto showInRow = [&](ExchangeResult result) { ReportFailure(form, controller, FailureOf(result)); };
  const ExchangeResult result =
      SendForAcknowledge(form, Command::kFullChecksum, controller, form.FrameBuffer, showInRow);
  if (result == ExchangeResult::kAnswered) Log(form, "Answer : 61");
  return result;
}

}  // namespace quillon
