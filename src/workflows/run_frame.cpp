// What all runs share. A run is what a click on one of the large buttons sets off: it opens the port, does
// something with each controller, one after the other, and closes the port.
//
// Most runs end at the first step that fails at run time: nothing was changed yet, or all can be done again.
// The serial download goes on, since a controller that it has erased must not be left empty.
#include <string>

#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::size_t kPortNumberDigit = 4;  // "COM 7": where the number begins

}  // namespace

/// One step of a run. Where the run goes on, the box shows a failure and the next step is taken.
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

/// The new firmware speaks the protocol that its image names. `Protocol` shows one less than the protocol
/// byte.
void Quillon::TakeImageProtocol() {
  Protocol.SetText(std::to_string(static_cast<int>(HexToNumber(image.ImageProtocol)) - 1));
}

/// And it speaks at the speed that the image fixes, if it fixes one.
void Quillon::TakeImageSpeed() {
  if (!image.ImageBaudRate.empty()) Vitesse.SetText(image.ImageBaudRate);
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
