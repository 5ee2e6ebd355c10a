#include "link/frame.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::uint8_t kBootCheck = 0x50;  // sub-code of the message $75
constexpr std::size_t kAnswerDigits = 26;  // the one form of answer
constexpr std::size_t kVersionByte = 5;

}  // namespace

void Quillon::ComBoot_Click() {
  Try(
      [this] {
        PrepareRun("Boot Info", false);
        SelectPort();
        MSComm1.SetPortOpen(true);
        for (CurrentController = 0; CurrentController < kControllers; ++CurrentController) {
          ResetTriedSpeeds();
          while (AskForBoot(CurrentController)) {
          }
        }
        EndRun();
      },
      {.addition = "\r\n comBoot_Click"});
}

/// Asks controller `i` once. True: it is to be asked again, at the speed and protocol byte that stand now.
bool Quillon::AskForBoot(int i) {
  ApplySpeed();
  if (!TakesPart(i)) return false;
  const std::uint8_t protocol = BootProtocolFallback ? kFixedProtocol : ProtocolNumber();
  FrameBuffer = CloseFrame({protocol, static_cast<std::uint8_t>(i), 4, 0x75, 0xAA, 0x55, kBootCheck});
  ShowProgress(ControllerText(i) + " : Checking Boot ", false);
  LogMessage("Message Checking BOOT");
  const int result = SendFrame(FrameBuffer, AnswerText, false);
  ReportFailure(i, result);
  if (result != kAnswered) return TryBootOtherwise(i);
  if (AnswerText.size() != kAnswerDigits) return true;
  FillRow(i, kVersionByte);
  return false;
}

/// After a failed exchange: with the fixed protocol byte in `Protocol`, the other speeds; with any other, the
/// fixed one from now on, at this speed, until an answer or Cancel. False: nothing is left.
bool Quillon::TryBootOtherwise(int i) {
  if (ProtocolNumber() != kFixedProtocol) {
    BootProtocolFallback = true;
    return true;
  }
  if (!NextUntriedSpeed()) return false;
  MarkController(i);
  return true;
}

}  // namespace quillon
