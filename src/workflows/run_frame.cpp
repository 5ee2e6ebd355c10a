// What all runs share. A run is what a click on one of the large buttons sets off: it opens the port, does
// something with each controller, one after the other, and closes the port.
//
// Most runs end at the first step that fails at run time: nothing was changed yet, or all can be done again.
// The serial download goes on, since a controller that it has erased must not be left empty.
#include <string>

#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::size_t kPortNumberDigit = 4;  // where the number of an item of the list begins: "COM 7"

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

}  // namespace quillon
