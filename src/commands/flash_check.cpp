// Sends the message $73 to read version and checksum of a controller into its row, `Ver(y)` and `CkSum(y)`. A
// checksum other than that of the chosen file (`FileCheksum`) is shown white on red.
#include "commands/flash_check.h"

#include <string>

#include "commands/acknowledge.h"
#include "commands/flash_answer.h"
#include "commands/frames.h"
#include "link/log.h"
#include "link/outcome.h"

namespace quillon {
namespace {

/// Writes version and checksum of `y` into its row. Returns false when the exchange failed. A late answer to
/// an earlier message has a correct CRC, but another length. Therefore $73 is sent again until an answer has
/// a known length, no answer is received, or the operator cancels.
bool ReadFlash(Quillon& form, int y) {
  for (;;) {
    form.FrameBuffer = FlashCheckFrame(ProtocolByteOrBox(form), y);
    ShowProgress(form, ControllerText(y) + " : Checking Flash ", StatusForm::kWithSpeed);
    LogFrame(form, "Message : $73  - Checking Flash", form.FrameBuffer);
    ExchangeResult result = ExchangeResult::kNoAnswer;  // also after a run-time failure
    Try(form, [&] {
      result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsBad);
      form.Report(CommandAnswered{Command::kFlashCheck, y, ReplyOf(form, result)});
    });
    ReportFailure(form, y, FailureOf(result));  // an answer empties the row
    if (result != ExchangeResult::kAnswered) return false;
    if (const auto facts = ReadFlashAnswer(form.AnswerText)) {
      FillRow(form, y, RowContent::kFlash, facts->version, facts->checksum);
      return true;
    }
  }
}

}  // namespace

bool FlashCheck(Quillon& form, int& y) {
  const bool checked = ReadFlash(form, y);
  const std::string& fileChecksum = form.info.FileCheksum.Text();
  if (checked && !fileChecksum.empty() && fileChecksum != form.info.CkSum(y).Text()) {
    form.dialogs.Beep();
    form.info.CkSum(y).SetBackColor(colour::kRed);
    form.info.CkSum(y).SetForeColor(colour::kWhite);
    form.info.CkSum(y).SetFontBold(true);
  }
  form.message.Unload();
  return checked;
}

}  // namespace quillon
