// The frame of a run: its opening, its loop over the controllers, what the image changes on the way, and its
// end.
#include <string>

#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::size_t kPortNumberDigit = 4;  // "COM 7": where the number begins

}  // namespace

void Quillon::TakeStep(OnFailure onFailure, const std::function<void()>& step) {
  if (onFailure == OnFailure::kGoOn) {
    Try(step);
  } else {
    step();
  }
}

void Quillon::OpenRun(Table table, OnFailure onFailure) {
  for (int i = 0; i < kControllers; ++i) MarkController(i);
  AbortRequested = false;
  if (table != Table::kNone) ShowTable(table);
  // Boot Info can do without: it looks at `Protocol` when it asks.
  if (table != Table::kBootInfo) TakeStep(onFailure, [this] { ProtocolNumber(); });
  TakeStep(onFailure, [this] { SelectPort(); });
  TakeStep(onFailure, [this] { MSComm1.SetPortOpen(true); });
}

/// Prepares `Info` and shows it. Boot Info holds its rows against nothing.
void Quillon::ShowTable(Table table) {
  const bool flash = table == Table::kFlashInfo;
  const char* title = flash ? "Flash Info" : "Boot Info";
  info.FileCheksum.SetText(FileCheksum.Text());
  info.SetCaption(title);
  info.Titre.SetText(title);
  info.Label41.SetVisible(flash);
  info.FileCheksum.SetVisible(flash);
  info.Show();
}

void Quillon::SelectPort() {
  MSComm1.SetPortOpen(false);  // an earlier run that failed may have left it open
  const std::string& name = ComPort.Text();
  if (name.empty()) {
    throw RunError(RunError::kTypeMismatch,
                   "Type mismatch: no port is selected. Select one in \"Com Port\".");
  }
  MSComm1.SetCommPort(ToInteger(name.substr(kPortNumberDigit), "Com Port"));
}

Quillon::Next Quillon::ForEachController(const std::function<Next(int& i)>& step) {
  for (CurrentController = 0; CurrentController < kControllers; ++CurrentController) {
    if (step(CurrentController) == Next::kEnd) return Next::kEnd;
  }
  return Next::kController;
}

void Quillon::EndRun() {
  message.Unload();
  MSComm1.SetPortOpen(false);
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
