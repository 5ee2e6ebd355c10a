// The last step of both downloads: reads the flash of a programmed controller and compares its checksum with
// that of the file. The controller now executes the new firmware. So the tool first adopts the protocol of
// the image, and its speed if the image fixes one.
//
// The names of the controls are fixed. Main window: `Protocol` is the box of the protocol number, `Vitesse`
// the list of speeds, `RUD3` the check box "Prot 3". Table window: `FileCheksum` (spelled so) is the checksum
// of the file, `Ver(n)` and `CkSum(n)` are version and checksum of controller n.
#include "workflows/after_programming.h"

#include <string>

#include "commands/flash_check.h"
#include "commands/protocol_switch.h"
#include "link/outcome.h"
#include "link/text_arithmetic.h"

namespace quillon {

void ApplyImageProtocol(Quillon& form) {
  const int protocolByte = static_cast<int>(HexToNumber(form.image.ImageProtocol));
  const int protocolNumber = protocolByte - 1;  // by definition, see Quillon::ProtocolNumber
  form.Protocol.SetText(std::to_string(protocolNumber));
}

void ApplyImageSpeed(Quillon& form) {
  if (!form.image.ImageBaudRate.empty()) form.Vitesse.SetText(form.image.ImageBaudRate);
}

// Every command receives the loop variable of its run by reference. This one does not change it.
bool CheckProgrammed(Quillon& form, int& controller) {
  // FlashCheck needs protocol 4. With "Prot 3" the controller is on protocol 3, and SendP4 changes it to 4.
  if (form.RUD3.Ticked()) SendP4(form, controller);
  return FlashCheck(form, controller);
}

void CompareWithFile(Quillon& form, int controller) {
  TextBox& version = form.info.Ver(controller);
  TextBox& checksum = form.info.CkSum(controller);
  if (checksum.Text() == form.info.FileCheksum.Text()) {
    ShowProgress(form, ControllerText(controller) + " : Programming OK", StatusForm::kWithSpeed);
    return;
  }
  version.SetForeColor(colour::kRed);
  version.SetFontBold(true);
  checksum.SetForeColor(colour::kWhite);
  checksum.SetBackColor(colour::kRed);
  checksum.SetFontBold(true);
  FillRow(form, controller, RowContent::kFailure, "Programmation", "ERROR");
  ShowProgressPaused(form, ControllerText(controller) + " : Programming failure");
}

}  // namespace quillon
