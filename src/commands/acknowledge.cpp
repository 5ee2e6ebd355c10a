#include "link/frame.h"
#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::LogMessage(const std::string& line) {
  Log(line);
  Log(ByteArrayToHex(FrameBuffer, false));
}

std::uint8_t Quillon::ProtocolByteOrBox() {
  std::uint8_t protocol = 0;
  Try([&] { protocol = ProtocolNumber(); });
  return protocol;
}

int Quillon::SendForAcknowledge(const std::function<void(int result)>& onResult) {
  for (int tries = 1; tries <= kTries; ++tries) {
    const int result = SendFrame(FrameBuffer, AnswerText, false);
    if (onResult) onResult(result);
    if (result != kAnswered || IsAcknowledge(AnswerText)) return result;
  }
  return kRefused;
}

bool Quillon::RequestAcknowledge(int y, const RequestTexts& texts) {
  int outcome = kNoAnswer;  // which a run-time failure of the exchange counts as
  Try([&] { outcome = SendForAcknowledge(); }, {.title = texts.errorTitle});
  if (outcome == kAnswered) {
    Log(texts.acknowledgedLog);
    ClearRow(y);
    ShowProgress(ControllerText(y) + texts.acknowledgedStatus, false);
  } else if (outcome == kRefused) {
    Log(texts.refusedLog);
    ReportFailure(y, kErasingFailure);
  } else {
    ReportFailure(y, outcome);
  }
  message.Unload();
  return outcome == kAnswered;
}

}  // namespace quillon
