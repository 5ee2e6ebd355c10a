#include "commands/flash_check.h"
#include "link/outcome.h"
#include "platform/finally.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr const char* kTimeOut = "50";  // milliseconds: who is there answers at once

}  // namespace

void Quillon::Auto_Click() {
  const std::string timeOut = Text1.Text();
  const std::string speed = Vitesse.Text();
  // By whatever way the run ends: the settings are the operator's.
  const Finally putBack([&] {
    Auto.SetEnabled(true);
    Text1.SetText(timeOut);
    if (!speed.empty()) Vitesse.SetText(speed);
  });
  Auto.SetEnabled(false);
  Text1.SetText(kTimeOut);
  Yield();
  ShowStatus(message.Jumelle, "Auto Detection in Progress  ...");
  AbortRequested = false;
  Try([this] {
    SelectPort();
    MSComm1.SetPortOpen(true);
    for (CurrentController = 0; CurrentController < kControllers; ++CurrentController)
      Detect(CurrentController);
  });
  MSComm1.SetPortOpen(false);
  message.Unload();
}

/// Ticks `i` when it answers at any speed, and unticks it when it answers at none. After Cancel it keeps its
/// state: nobody knows.
void Quillon::Detect(int i) {
  ResetTriedSpeeds();
  do {
    ApplySpeed();
    if (AbortRequested) return;
    FrameBuffer = FlashCheckFrame(ProtocolNumber(), i);
    Log("Message : AutoDetection $73");
    if (SendFrame(FrameBuffer, AnswerText, false) == kAnswered) {
      C(i).SetValue(CheckBox::kTicked);
      return;
    }
  } while (NextUntriedSpeed());
  if (!AbortRequested) C(i).SetValue(CheckBox::kUnticked);
}

}  // namespace quillon
