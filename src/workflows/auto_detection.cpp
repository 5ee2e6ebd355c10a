// Auto finds the controllers on the line: it asks each number from 0 to 31, at one speed after the other
// until it answers, and ticks those that answered.
//
//     message   40 05 01 73 F8 A9 04    to controller 5: read version and checksum
//     answer    any valid one; its contents are not used
//
// The time-out is 50 ms meanwhile, because a controller that is present answers at once. The run writes it
// into the box `Text1` and moves the list of speeds `Vitesse`. Both are restored when it ends, also when an
// exception ends it. `C(n)` is the check box of controller n, `Jumelle` the picture of the progress window
// during the search.
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

/// Ticks the controller if it answers at any speed, else unticks it. After Cancel its box is unchanged.
void Detect(Quillon& form, int controller) {
  std::optional<PhaseScope> phase;  // begins with the first message: after Cancel no phase is reported
  ResetTriedSpeeds(form);
  do {
    ApplySpeed(form);
    if (form.AbortRequested) return;
    if (!phase) phase.emplace(form, controller, Phase::kDetect);
    form.FrameBuffer = FlashCheckFrame(form.ProtocolNumber(), controller);
    Log(form, kDetectionLog);
    const ExchangeResult result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsBad);
    form.Report(CommandAnswered{Command::kFlashCheck, controller, ReplyOf(form, result)});
    if (result == ExchangeResult::kAnswered) {
      form.C(controller).SetValue(CheckBox::kTicked);
      form.Report(ControllerFound{controller, form.Vitesse.Text()});
      return;
    }
  } while (NextUntriedSpeed(form));
  if (!form.AbortRequested) form.C(controller).SetValue(CheckBox::kUnticked);
}

}  // namespace

bool Auto_Click(Quillon& form) {
  const std::string timeOut = form.Text1.Text();
  const std::string speed = form.Vitesse.Text();
  const ScopeExit restoreSettings([&] {
    form.Auto.SetEnabled(true);
    form.Text1.SetText(timeOut);
    if (!speed.empty()) form.Vitesse.SetText(speed);  // an empty text cannot be selected
  });
  form.Auto.SetEnabled(false);
  form.Text1.SetText(kTimeOut);
  form.run.Yield();  // paints the button and the time-out
  ShowStatus(form, form.message.Jumelle, "Auto Detection in Progress  ...");
  form.AbortRequested = false;
  const bool succeeded = Try(form, [&] {
    SelectPort(form);
    form.MSComm1.SetPortOpen(true);
    ForEachController(form, [&](int controller) {
      Detect(form, controller);
      return Next::kContinue;
    });
  });
  form.MSComm1.SetPortOpen(false);
  form.message.Unload();
  return succeeded;
}

}  // namespace quillon
