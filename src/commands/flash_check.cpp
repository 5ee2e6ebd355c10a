// The message $73: what do you hold? An answer of an unknown length, though its CRC is right, belongs to
// another question: this one is then asked again.
#include <string>

#include "commands/flash_answer.h"
#include "commands/frames.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

bool Quillon::FlashCheck(int& y) {
  const bool checked = ReadFlash(y);
  const std::string& fileChecksum = info.FileCheksum.Text();
  if (checked && !fileChecksum.empty() && fileChecksum != info.CkSum(y).Text()) {
    desk_.Beep();
    info.CkSum(y).SetBackColor(colour::kRed);
    info.CkSum(y).SetForeColor(colour::kWhite);
    info.CkSum(y).SetFontBold(true);
  }
  message.Unload();
  return checked;
}

/// Asks until an answer of a known length fills the row of `y`; an exchange that fails, or Cancel, ends it.
bool Quillon::ReadFlash(int y) {
  for (;;) {
    FrameBuffer = FlashCheckFrame(ProtocolByteOrBox(), y);
    ShowProgress(ControllerText(y) + " : Checking Flash ", StatusForm::kWithSpeed);
    LogFrame("Message : $73  - Checking Flash", FrameBuffer);
    ExchangeResult result = ExchangeResult::kNoAnswer;  // which a run-time failure of the exchange counts as
    Try([&] { result = SendFrame(FrameBuffer, AnswerText, ShortAnswer::kIsBad); });
    ReportFailure(y, FailureOf(result));
    if (result != ExchangeResult::kAnswered) return false;
    if (const auto facts = ReadFlashAnswer(AnswerText)) {
      FillRow(y, *facts);
      return true;
    }
  }
}

void Quillon::FillRow(int y, const FlashFacts& facts) {
  info.Ver(y).SetText(facts.version);
  info.CkSum(y).SetText(facts.checksum);
}

}  // namespace quillon
