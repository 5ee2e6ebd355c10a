// Sends a command that a controller acknowledges, and shows the result. Byte 3 of the answer is its code: 61
// when the controller executed the command, another code, such as E1, when it refused.
//
//     acknowledged          success
//     refused               sent again, because the controller may have been busy with its flash; the third
//                           refusal is final
//     silent, or damaged    final at once: SendFrame has already sent the frame three times
#include "commands/acknowledge.h"

#include "link/frame.h"
#include "link/log.h"
#include "link/outcome.h"

namespace quillon {
namespace {

constexpr int kExchanges = 3;

}  // namespace

std::uint8_t ProtocolByte(Quillon& form) {
  std::uint8_t protocol = 0;
  Try(form, [&] { protocol = form.ProtocolNumber(); });
  return protocol;
}

ExchangeResult SendForAcknowledge(Quillon& form, Command command, int controller, const Bytes& frame,
                                  const std::function<void(ExchangeResult result)>& onResult) {
  for (int exchange = 1; exchange <= kExchanges; ++exchange) {
    const ExchangeResult result = SendFrame(form, frame, form.AnswerText, ShortAnswer::kIsBad);
    const bool refused = result == ExchangeResult::kAnswered && !IsAcknowledge(form.AnswerText);
    form.Report(CommandAnswered{command, controller, refused ? Reply::kRefused : ReplyOf(form, result)});
    if (onResult) onResult(result);
    if (!refused) return result;
  }
  return ExchangeResult::kRefused;
}

bool RequestAcknowledge(Quillon& form, int controller, const Bytes& frame, const RequestTexts& texts) {
  ExchangeResult result = ExchangeResult::kNoAnswer;  // remains if the exchange raises RunError
  const auto send = [&] { result = SendForAcknowledge(form, texts.command, controller, frame); };
  Try(form, send, {.title = texts.errorTitle});
  if (result == ExchangeResult::kAnswered) {
    Log(form, texts.acknowledgedLog);
    ClearRow(form, controller);
    ShowProgress(form, ControllerText(controller) + texts.acknowledgedStatus, StatusForm::kWithSpeed);
  } else if (result == ExchangeResult::kRefused) {
    Log(form, texts.refusedLog);
    ReportFailure(form, controller, FailureCode::kErasingFailure);
  } else {
    ReportFailure(form, controller, FailureOf(result));
  }
  form.message.Unload();
  return result == ExchangeResult::kAnswered;
}

}  // namespace quillon
