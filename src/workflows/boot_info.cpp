// Boot Info, the click handler `ComBoot_Click`: reads version and checksum of the boot code of each ticked
// controller into its row of the table window.
//
//     message   40 05 04 75 AA 55 50 38 39 04    to controller 5, with the protocol byte 40
//     answer    13 bytes, with version and checksum (flash_answer.h)
//
// The boot code of some controllers accepts only the protocol byte 40, whatever their firmware accepts. So
// the byte that the box `Protocol` gives decides what follows a failed exchange:
//
//     40        The message is sent at the next speed, until all speeds were tried.
//     another   `BootProtocolFallback` is set: this run and all later ones send 40. The message is sent again
//               at the same speed, until it is answered or the operator cancels.
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

/// Sends the message at the current speed. A failure is shown in the row; after an answer the row is empty.
ExchangeResult SendBootCheck(Quillon& form, int controller) {
  const std::uint8_t protocol = form.BootProtocolFallback ? kFixedProtocol : form.ProtocolNumber();
  form.FrameBuffer = BootCheckFrame(protocol, controller);
  ShowProgress(form, ControllerText(controller) + " : Checking Boot ", StatusForm::kWithSpeed);
  LogFrame(form, "Message Checking BOOT", form.FrameBuffer);
  const ExchangeResult result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsBad);
  form.Report(CommandAnswered{Command::kBootCheck, controller, ReplyOf(form, result)});
  ReportFailure(form, controller, FailureOf(result));
  return result;
}

/// Selects the protocol byte 40 or the next speed. Returns false when all speeds were tried.
bool PrepareRetry(Quillon& form, int controller) {
  if (form.ProtocolNumber() != kFixedProtocol) {
    form.BootProtocolFallback = true;
    return true;
  }
  if (!NextUntriedSpeed(form)) return false;
  MarkController(form, controller);  // the failure at the former speed is no longer red
  return true;
}

/// Repeats the message until it is answered, all speeds were tried or the controller no longer takes part.
void ReadBoot(Quillon& form, int controller) {
  std::optional<PhaseScope> phase;  // begins with the first message: a skipped controller reports no phase
  ResetTriedSpeeds(form);
  for (;;) {
    ApplySpeed(form);
    // The operator may untick the controller or cancel during each exchange.
    if (!TakesPart(form, controller)) return;
    if (!phase) phase.emplace(form, controller, Phase::kBootCheck);
    if (SendBootCheck(form, controller) != ExchangeResult::kAnswered) {
      if (!PrepareRetry(form, controller)) return;
      continue;
    }
    const auto facts = ReadBootAnswer(form.AnswerText);
    if (!facts) continue;  // a late answer to an earlier message: it has another length
    FillRow(form, controller, RowContent::kBoot, facts->version, facts->checksum);
    return;
  }
}

}  // namespace

bool ComBoot_Click(Quillon& form) {
  const auto run = [&] {
    OpenRun(form, Table::kBootInfo);
    ForEachController(form, [&](int controller) {
      ReadBoot(form, controller);
      return Next::kContinue;
    });
    EndRun(form);
  };
  // The addition follows the description of a failure in the run-error box. It is spelled so on purpose.
  return Try(form, run, {.addition = "\r\n comBoot_Click"});
}

}  // namespace quillon
