// Sends a command that a controller acknowledges with the code 61, and shows the result. A refused command is
// repeated twice, because the controller may have been busy with its flash. A missing or damaged answer is
// final at once: the exchange has already sent the frame three times.
#include "commands/acknowledge.h"

#include "link/frame.h"
#include "link/log.h"
#include "link/outcome.h"

namespace quillon {
namespace {

constexpr int kExchanges = 3;

}  // namespace

std::uint8_t ProtocolByteOrBox(Quillon& form) {
  std::uint8_t protocol = 0;
  Try(form, [&] { protocol = form.ProtocolNumber(); });
  return protocol;
}

ExchangeResult SendForAcknowledge(Quillon& form, Command command, int y, const Bytes& frame,
                                  const std::function<void(ExchangeResult result)>& onResult) {
  for (int exchange = 1; exchange <= kExchanges; ++exchange) {
    const ExchangeResult result = SendFrame(form, frame, form.AnswerText, ShortAnswer::kIsBad);
    const bool refused = result == ExchangeResult::kAnswered && !IsAcknowledge(form.AnswerText);
    form.Report(CommandAnswered{command, y, refused ? Reply::kRefused : ReplyOf(form, result)});
    if (onResult) onResult(result);
    if (!refused) return result;
  }
  return ExchangeResult::kRefused;
}

bool RequestAcknowledge(Quillon& form, int y, const Bytes& frame, const RequestTexts& texts) {
  ExchangeResult result = ExchangeResult::kNoAnswer;  // also after a run-time failure
  Try(form, [&] { result = SendForAcknowledge(form, texts.command, y, frame); }, {.title = texts.errorTitle});
  if (result == ExchangeResult::kAnswered) {
    Log(form, texts.acknowledgedLog);
    ClearRow(form, y);
    ShowProgress(form, ControllerText(y) + texts.acknowledgedStatus, StatusForm::kWithSpeed);
  } else if (result == ExchangeResult::kRefused) {
    Log(form, texts.refusedLog);
    ReportFailure(form, y, FailureCode::kErasingFailure);
  } else {
    ReportFailure(form, y, FailureOf(result));
  }
  form.message.Unload();
  return result == ExchangeResult::kAnswered;
}

}  // namespace quillon
