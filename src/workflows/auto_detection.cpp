// Auto finds the controllers on the line: it sends the message $73 to each number, at each speed until it is
// answered, and ticks those that answered. The run changes the time-out (`Text1`), which is 50 ms meanwhile,
// and the speed (`Vitesse`). Both are restored when it ends. `C(i)` is the check box of controller i,
// `Jumelle` the picture of the progress window during the search.
#include "workflows/auto_detection.h"

#include <optional>
#include <string>

#include "commands/frames.h"
#include "forms/run_error_box.h"
#include "link/exchange.h"
#include "link/log.h"
#include "link/log_lines.h"
#include "link/outcome.h"
#include "platform/scope_exit.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

constexpr const char* kTimeOut = "50";  // milliseconds

/// Ticks `i` when it answers at any speed, else unticks it. After Cancel the box is unchanged.
void Detect(Quillon& form, int i) {
  std::optional<PhaseScope> phase;
  ResetTriedSpeeds(form);
  do {
    ApplySpeed(form);
    if (form.AbortRequested) return;
    if (!phase) phase.emplace(form, i, Phase::kDetect);
    form.FrameBuffer = FlashCheckFrame(form.ProtocolNumber(), i);
    Log(form, kDetectionLog);
    const ExchangeResult result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsBad);
    form.Report(CommandAnswered{Command::kFlashCheck, i, ReplyOf(form, result)});
    if (result == ExchangeResult::kAnswered) {
      form.C(i).SetValue(CheckBox::kTicked);
      form.Report(ControllerFound{i, form.Vitesse.Text()});
      return;
    }
  } while (NextUntriedSpeed(form));
  if (!form.AbortRequested) form.C(i).SetValue(CheckBox::kUnticked);
}

}  // namespace

bool Auto_Click(Quillon& form) {
  const std::string timeOut = form.Text1.Text();
  const std::string speed = form.Vitesse.Text();
  const ScopeExit restoreSettings([&] {
    form.Auto.SetEnabled(true);
    form.Text1.SetText(timeOut);
    if (!speed.empty()) form.Vitesse.SetText(speed);
  });
  form.Auto.SetEnabled(false);
  form.Text1.SetText(kTimeOut);
  form.run.Yield();
  ShowStatus(form, form.message.Jumelle, "Auto Detection in Progress  ...");
  form.AbortRequested = false;
  const bool succeeded = Try(form, [&] {
    SelectPort(form);
    form.MSComm1.SetPortOpen(true);
    ForEachController(form, [&](int& i) {
      Detect(form, i);
      return Next::kContinue;
    });
  });
  form.MSComm1.SetPortOpen(false);
  form.message.Unload();
  return succeeded;
}

}  // namespace quillon
