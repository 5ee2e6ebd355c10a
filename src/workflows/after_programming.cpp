// Checks a programmed controller. The controller executes the new firmware, so the check uses the protocol of
// the image, and its speed if the image fixes one. Both are set before the first message to the controller.
// The names of the controls are fixed: `Vitesse` is the list of speeds, `RUD3` the box "Prot 3",
// `FileCheksum` (spelled so) the checksum of the file; `Ver(y)` and `CkSum(y)` are version and checksum of
// controller y.
#include "workflows/after_programming.h"

#include <string>

#include "commands/flash_check.h"
#include "commands/protocol_switch.h"
#include "link/outcome.h"
#include "link/text_arithmetic.h"

namespace quillon {

void ApplyImageProtocol(Quillon& form) {
  // The number in the box is one less than the protocol byte.
  form.Protocol.SetText(std::to_string(static_cast<int>(HexToNumber(form.image.ImageProtocol)) - 1));
}

void ApplyImageSpeed(Quillon& form) {
  if (!form.image.ImageBaudRate.empty()) form.Vitesse.SetText(form.image.ImageBaudRate);
}

bool CheckProgrammed(Quillon& form, int& i) {
  // A check uses protocol 4. SendP4 moves a controller from protocol 3 to it.
  if (form.RUD3.Ticked()) SendP4(form, i);
  return FlashCheck(form, i);
}

void CompareWithFile(Quillon& form, int y) {
  TextBox& version = form.info.Ver(y);
  TextBox& checksum = form.info.CkSum(y);
  if (checksum.Text() == form.info.FileCheksum.Text()) {
    ShowProgress(form, ControllerText(y) + " : Programming OK", StatusForm::kWithSpeed);
    return;
  }
  version.SetForeColor(colour::kRed);
  version.SetFontBold(true);
  checksum.SetForeColor(colour::kWhite);
  checksum.SetBackColor(colour::kRed);
  checksum.SetFontBold(true);
  FillRow(form, y, RowContent::kFailure, "Programmation", "ERROR");
  ShowProgressPaused(form, ControllerText(y) + " : Programming failure");
}

}  // namespace quillon
