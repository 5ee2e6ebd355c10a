// What both downloads do with a controller that was programmed.
//
// It runs the new firmware now, and that answers as its image says: in the image's protocol, and at the
// image's speed where that is fixed. So the boxes take over both before anything more is asked. Then the
// controller reports what its flash holds, and its row is held against the file.
#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "shell/quillon.h"

namespace quillon {

/// `Protocol` shows one less than the protocol byte.
void Quillon::TakeImageProtocol() {
  Protocol.SetText(std::to_string(static_cast<int>(HexToNumber(image.ImageProtocol)) - 1));
}

void Quillon::TakeImageSpeed() {
  if (!image.ImageBaudRate.empty()) Vitesse.SetText(image.ImageBaudRate);
}

/// Has `i` report what its flash holds. A controller on protocol 3 is moved to 4 before: there it understands
/// the question.
bool Quillon::CheckProgrammed(int& i) {
  if (RUD3.Ticked()) SendP4(i);
  return FlashCheck(i);
}

/// Holds what the controller reported against the file, and marks the row where they differ.
void Quillon::CompareWithFile(int y) {
  TextBox& version = info.Ver(y);
  TextBox& checksum = info.CkSum(y);
  if (checksum.Text() == info.FileCheksum.Text()) {
    ShowProgress(ControllerText(y) + " : Programming OK", StatusForm::kWithSpeed);
    return;
  }
  version.SetForeColor(colour::kRed);
  version.SetFontBold(true);
  version.SetText("Programmation");
  checksum.SetForeColor(colour::kWhite);
  checksum.SetFontBold(true);
  checksum.SetText("ERROR");
  ShowProgressPaused(ControllerText(y) + " : Programming failure");
}

}  // namespace quillon
