// Boot Info: reads version and checksum of the boot code, by the message $75 AA 55 50 to each ticked
// controller. The boot code of some controllers accepts only the protocol byte 0x40. So after the first
// failed exchange with another byte, this run and all later ones send 0x40. They repeat it at one speed until
// an answer or Cancel. Other speeds are tried only if the box `Protocol` itself gives 0x40.
#include "workflows/boot_info.h"

#include <optional>

#include "commands/flash_answer.h"
#include "commands/frames.h"
#include "forms/run_error_box.h"
#include "link/exchange.h"
#include "link/frame.h"
#include "link/log.h"
#include "link/outcome.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

enum class Attempt { kDone, kAgain };

/// After a failed exchange, selects the protocol byte 0x40 or the next speed. kDone: no speed is left.
Attempt PrepareBootRetry(Quillon& form, int i) {
  if (form.ProtocolNumber() != kFixedProtocol) {
    form.BootProtocolFallback = true;
    return Attempt::kAgain;
  }
  if (!NextUntriedSpeed(form)) return Attempt::kDone;
  MarkController(form, i);
  return Attempt::kAgain;
}

/// Sends the message to controller `i` once, at the current speed. The first attempt begins `phase`.
Attempt ReadBootOnce(Quillon& form, int i, std::optional<PhaseScope>& phase) {
  ApplySpeed(form);
  if (!TakesPart(form, i)) return Attempt::kDone;
  if (!phase) phase.emplace(form, i, Phase::kBootCheck);
  form.FrameBuffer = BootCheckFrame(form.BootProtocolFallback ? kFixedProtocol : form.ProtocolNumber(), i);
  ShowProgress(form, ControllerText(i) + " : Checking Boot ", StatusForm::kWithSpeed);
  LogFrame(form, "Message Checking BOOT", form.FrameBuffer);
  const ExchangeResult result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsBad);
  form.Report(CommandAnswered{Command::kBootCheck, i, ReplyOf(form, result)});
  ReportFailure(form, i, FailureOf(result));
  if (result != ExchangeResult::kAnswered) return PrepareBootRetry(form, i);
  const auto facts = ReadBootAnswer(form.AnswerText);
  if (!facts) return Attempt::kAgain;  // a late answer to another message
  FillRow(form, i, RowContent::kBoot, facts->version, facts->checksum);
  return Attempt::kDone;
}

}  // namespace

bool ComBoot_Click(Quillon& form) {
  return Try(form,
             [&] {
               OpenRun(form, Table::kBootInfo);
               ForEachController(form, [&](int& i) {
                 ResetTriedSpeeds(form);
                 std::optional<PhaseScope> phase;
                 while (ReadBootOnce(form, i, phase) == Attempt::kAgain) {
                 }
                 return Next::kContinue;
               });
               EndRun(form);
             },
             {.addition = "\r\n comBoot_Click"});
}

}  // namespace quillon
