// Boot Info: version and checksum of each controller's boot code.
//
// The boot code of some controllers knows the fixed protocol byte alone, whatever their firmware speaks.
// After the first silence the whole run, and each later one, therefore asks with that byte; only then do the
// other speeds get their turn.
#include "commands/flash_answer.h"
#include "commands/frames.h"
#include "link/frame.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::ComBoot_Click() {
  Try(
      [this] {
        OpenRun(Table::kBootInfo);
        ForEachController([this](int& i) {
          ResetTriedSpeeds();
          while (AskForBoot(i) == Attempt::kAgain) {
          }
          return Next::kController;
        });
        EndRun();
      },
      {.addition = "\r\n comBoot_Click"});
}

/// Asks controller `i` once, at the speed and protocol byte that stand now.
Quillon::Attempt Quillon::AskForBoot(int i) {
  ApplySpeed();
  if (!TakesPart(i)) return Attempt::kDone;
  FrameBuffer = BootCheckFrame(BootProtocolFallback ? kFixedProtocol : ProtocolNumber(), i);
  ShowProgress(ControllerText(i) + " : Checking Boot ", StatusForm::kWithSpeed);
  LogFrame("Message Checking BOOT", FrameBuffer);
  const ExchangeResult result = SendFrame(FrameBuffer, AnswerText, ShortAnswer::kIsBad);
  ReportFailure(i, FailureOf(result));
  if (result != ExchangeResult::kAnswered) return TryBootOtherwise(i);
  const auto facts = ReadBootAnswer(AnswerText);
  if (!facts) return Attempt::kAgain;
  FillRow(i, *facts);
  return Attempt::kDone;
}

/// After a failed exchange: with the fixed protocol byte in `Protocol`, the other speeds; with any other, the
/// fixed one from now on, at this speed, until an answer or Cancel.
Quillon::Attempt Quillon::TryBootOtherwise(int i) {
  if (ProtocolNumber() != kFixedProtocol) {
    BootProtocolFallback = true;
    return Attempt::kAgain;
  }
  if (!NextUntriedSpeed()) return Attempt::kDone;
  MarkController(i);
  return Attempt::kAgain;
}

}  // namespace quillon
