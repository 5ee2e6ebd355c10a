// What runs share: their opening, the search for a controller's speed, and the compare at their end.
#include <string>

#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::size_t kPortNumberDigit = 4;  // "COM 7": where the number begins

/// The speed that a tried-speed box stands for: "V9600" is "9600".
std::string SpeedOf(const CheckBox& box) { return box.Caption().substr(1); }

}  // namespace

void Quillon::PrepareRun(const std::string& title, bool withFileChecksum) {
  MarkAllControllers();
  AbortRequested = false;
  info.FileCheksum.SetText(FileCheksum.Text());
  info.SetCaption(title);
  info.Titre.SetText(title);
  info.Label41.SetVisible(withFileChecksum);
  info.FileCheksum.SetVisible(withFileChecksum);
  info.Show();
}

void Quillon::MarkAllControllers() {
  for (int i = 0; i < kControllers; ++i) MarkController(i);
}

void Quillon::RequireProtocol() const { ProtocolNumber(); }

void Quillon::SelectPort() {
  MSComm1.SetPortOpen(false);  // an earlier run that failed may have left it open
  const std::string& name = ComPort.Text();
  if (name.empty()) {
    throw RunError(RunError::kTypeMismatch,
                   "Type mismatch: no port is selected. Select one in \"Com Port\".");
  }
  MSComm1.SetCommPort(ToInteger(name.substr(kPortNumberDigit), "Com Port"));
}

void Quillon::OpenRun() {
  PrepareRun("Flash Info", true);
  RequireProtocol();
  SelectPort();
  MSComm1.SetPortOpen(true);
}

void Quillon::EndRun() {
  message.Unload();
  MSComm1.SetPortOpen(false);
}

void Quillon::ResetTriedSpeeds() {
  for (CheckBox* box : speedBoxes_) box->SetValue(CheckBox::kUnticked);
}

void Quillon::ApplySpeed() {
  const std::string& speed = Vitesse.Text();
  // Ticked first: a search on a line that fails must come to its end too.
  for (CheckBox* box : speedBoxes_) {
    if (SpeedOf(*box) == speed) box->SetValue(CheckBox::kTicked);
  }
  MSComm1.SetSettings(speed + ",N,8,2");
}

bool Quillon::NextUntriedSpeed() {
  for (const CheckBox* box : speedBoxes_) {
    if (box->Ticked()) continue;
    Vitesse.SetText(SpeedOf(*box));
    return true;
  }
  return false;
}

bool Quillon::TakesPart(int i) const { return C(i).Ticked() && !AbortRequested; }

Quillon::Turn Quillon::TakeTurn(int i, const std::function<bool()>& command, bool markBetweenSpeeds) {
  for (ResetTriedSpeeds();;) {
    ApplySpeed();
    if (!TakesPart(i)) return Turn::kSkipped;
    if (command()) return Turn::kDone;
    if (!NextUntriedSpeed()) return Turn::kNoSpeedLeft;
    if (markBetweenSpeeds) MarkController(i);
  }
}

void Quillon::TakeImageProtocol() {
  Protocol.SetText(std::to_string(static_cast<int>(HexToNumber(image.ImageProtocol)) - 1));
}

void Quillon::TakeImageSpeed() {
  if (!image.ImageBaudRate.empty()) Vitesse.SetText(image.ImageBaudRate);
}

void Quillon::CompareWithFile(int y) {
  TextBox& version = info.Ver(y);
  TextBox& checksum = info.CkSum(y);
  if (checksum.Text() == info.FileCheksum.Text()) {
    ShowProgress(ControllerText(y) + " : Programming OK", false);
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
