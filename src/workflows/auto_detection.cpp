// Auto: who is on the line? Every number is asked at every speed, and its box ticked when it answers. A
// station that is there answers at once, so the wait for each is short; on an empty line the run still takes
// minutes.
#include "commands/frames.h"
#include "link/exchange.h"
#include "link/log_lines.h"
#include "platform/finally.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr const char* kTimeOut = "50";  // milliseconds

}  // namespace

void Quillon::Auto_Click() {
  const std::string timeOut = Text1.Text();
  const std::string speed = Vitesse.Text();
  // However the run ends: the settings are the operator's.
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
    ForEachController([this](int& i) {
      Detect(i);
      return Next::kController;
    });
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
    Log(kDetectionLog);
    if (SendFrame(FrameBuffer, AnswerText, ShortAnswer::kIsBad) == ExchangeResult::kAnswered) {
      C(i).SetValue(CheckBox::kTicked);
      return;
    }
  } while (NextUntriedSpeed());
  if (!AbortRequested) C(i).SetValue(CheckBox::kUnticked);
}

}  // namespace quillon
