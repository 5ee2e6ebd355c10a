// The message $73 asks a controller for the version and the checksum of its firmware; flash_answer.h draws
// both forms of the answer. The row of the controller then shows them. With a file chosen, a checksum other
// than the file's is set white on red.
//
// An answer of another length is the late answer to an earlier question, though its CRC is right. So the
// question is asked again, until it is answered, nobody answers, or the operator cancels.
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

/// Asks until an answer of a known length fills the row of `y`. False: the exchange failed.
bool Quillon::ReadFlash(int y) {
  for (;;) {
    FrameBuffer = FlashCheckFrame(ProtocolByteOrBox(), y);
    ShowProgress(ControllerText(y) + " : Checking Flash ", StatusForm::kWithSpeed);
    LogFrame("Message : $73  - Checking Flash", FrameBuffer);
    ExchangeResult result = ExchangeResult::kNoAnswer;  // unless the exchange comes to its end
    Try([&] { result = SendFrame(FrameBuffer, AnswerText, ShortAnswer::kIsBad); });
    ReportFailure(y, FailureOf(result));  // an answer empties the row
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
