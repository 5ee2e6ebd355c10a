// Messages that a controller acknowledges. The code of its answer is 61 when it did what was asked; any other
// code is a refusal. A refused message is worth repeating, since the controller may have been busy with its
// flash: three refusals in a row are final. Silence and damaged answers end the tries at once, because the
// exchange has already sent that frame three times.
#include "link/frame.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr int kTries = 3;

}  // namespace

std::uint8_t Quillon::ProtocolByteOrBox() {
  std::uint8_t protocol = 0;
  Try([&] { protocol = ProtocolNumber(); });
  return protocol;
}

ExchangeResult Quillon::SendForAcknowledge(const Bytes& frame,
                                           const std::function<void(ExchangeResult result)>& onResult) {
  for (int tries = 1; tries <= kTries; ++tries) {
    const ExchangeResult result = SendFrame(frame, AnswerText, ShortAnswer::kIsBad);
    if (onResult) onResult(result);
    if (result != ExchangeResult::kAnswered || IsAcknowledge(AnswerText)) return result;
  }
  return ExchangeResult::kRefused;
}

bool Quillon::RequestAcknowledge(int y, const Bytes& frame, const RequestTexts& texts) {
  ExchangeResult result = ExchangeResult::kNoAnswer;  // unless the exchange comes to its end
  Try([&] { result = SendForAcknowledge(frame); }, {.title = texts.errorTitle});
  if (result == ExchangeResult::kAnswered) {
    Log(texts.acknowledgedLog);
    ClearRow(y);
    ShowProgress(ControllerText(y) + texts.acknowledgedStatus, StatusForm::kWithSpeed);
  } else if (result == ExchangeResult::kRefused) {
    Log(texts.refusedLog);
    ReportFailure(y, FailureCode::kErasingFailure);
  } else {
    ReportFailure(y, FailureOf(result));
  }
  message.Unload();
  return result == ExchangeResult::kAnswered;
}

}  // namespace quillon
