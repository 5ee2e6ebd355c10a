// The message $73 reads version and checksum of a controller's flash into its row of the table window.
//
//     message   40 05 01 73 F8 A9 04    to controller 5, with the protocol byte 40
//     answer    13 or 14 bytes, with version and checksum (flash_answer.h)
//
// The row of controller n has the fields `Ver(n)` for the version and `CkSum(n)` for the checksum. If it
// differs from the checksum of the chosen file, the box `FileCheksum` (spelled so), it is white on red.
#include "commands/flash_check.h"

#include <string>

#include "commands/acknowledge.h"
#include "commands/flash_answer.h"
#include "commands/frames.h"
#include "link/log.h"
#include "link/outcome.h"

namespace quillon {
namespace {

/// Sends the message once. A failure is shown in the row; after an answer the row is empty.
ExchangeResult SendFlashCheck(Quillon& form, int controller) {
  form.FrameBuffer = FlashCheckFrame(ProtocolByte(form), controller);
  ShowProgress(form, ControllerText(controller) + " : Checking Flash ", StatusForm::kWithSpeed);
  LogFrame(form, "Message : $73  - Checking Flash", form.FrameBuffer);
  ExchangeResult result = ExchangeResult::kNoAnswer;  // remains if SendFrame raises RunError
  Try(form, [&] {
    result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsBad);
    form.Report(CommandAnswered{Command::kFlashCheck, controller, ReplyOf(form, result)});
  });
  ReportFailure(form, controller, FailureOf(result));
  return result;
}

/// Writes version and checksum into the row. Returns false after a failed exchange. A late answer to an
/// earlier message has a correct CRC, but another length. The message is then sent again. Silence and Cancel
/// end the repetition, because the exchange fails.
bool ReadFlash(Quillon& form, int controller) {
  while (SendFlashCheck(form, controller) == ExchangeResult::kAnswered) {
    if (const auto facts = ReadFlashAnswer(form.AnswerText)) {
      FillRow(form, controller, RowContent::kFlash, facts->version, facts->checksum);
      return true;
    }
  }
  return false;
}

void ShowMismatch(Quillon& form, TextBox& checksum) {
  form.dialogs.Beep();
  checksum.SetBackColor(colour::kRed);
  checksum.SetForeColor(colour::kWhite);
  checksum.SetFontBold(true);
}

}  // namespace

// Every command receives the loop variable of its run by reference. This one does not change it.
bool FlashCheck(Quillon& form, int& controller) {
  const bool checked = ReadFlash(form, controller);
  TextBox& checksum = form.info.CkSum(controller);
  const std::string& fileChecksum = form.info.FileCheksum.Text();
  const bool fileChosen = !fileChecksum.empty();
  if (checked && fileChosen && checksum.Text() != fileChecksum) ShowMismatch(form, checksum);
  form.message.Unload();
  return checked;
}

}  // namespace quillon
