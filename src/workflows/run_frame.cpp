// What every run does before its first controller and after its last:
//
//     OpenRun            shows the table window `Info`, checks the settings and opens the port
//     ForEachController  calls the step of the run for controllers 0 to 31
//     EndRun             closes the progress window and the port
//
// Most runs end at the first step that fails, since nothing was changed yet or everything can be repeated.
// The serial download continues (OnFailure::kContinue), so that it leaves no erased controller empty.
//
// The names of the controls are fixed. Main window: `ComPort` is the list of ports, `Protocol` the box of the
// protocol number, `MSComm1` the serial port. Table window: `Titre` is the heading, `Label41` the caption of
// the file's checksum `FileCheksum`, `Ver(0)` the version of controller 0.
#include "workflows/run_frame.h"

#include <string>

#include "forms/run_error_box.h"
#include "link/outcome.h"
#include "platform/conversions.h"

namespace quillon {
namespace {

constexpr std::size_t kPortNumberIndex = 4;  // the number's first digit in "COM 7"

/// Prepares `Info` and shows it. Boot Info shows no file checksum, since no file contains boot code.
void ShowTable(Quillon& form, Table table) {
  const bool flash = table == Table::kFlashInfo;
  const char* title = flash ? "Flash Info" : "Boot Info";
  form.info.FileCheksum.SetText(form.FileCheksum.Text());
  form.info.SetCaption(title);
  form.info.Titre.SetText(title);
  form.info.Label41.SetVisible(flash);
  form.info.FileCheksum.SetVisible(flash);
  form.info.Show();
  form.info.Ver(0).SetFocus();  // not "&Close", which the next Enter would press
}

/// Raises RunError unless `Protocol` contains a valid number.
void ValidateProtocol(const Quillon& form) { form.ProtocolNumber(); }

}  // namespace

void RunStep(Quillon& form, OnFailure onFailure, const std::function<void()>& step) {
  if (onFailure == OnFailure::kContinue) {
    Try(form, step);  // shows a failure and returns
  } else {
    step();
  }
}

void OpenRun(Quillon& form, Table table, OnFailure onFailure) {
  // The rows of an earlier run keep their texts, but not the red of its failures.
  for (int controller = 0; controller < kControllers; ++controller) MarkController(form, controller);
  form.AbortRequested = false;
  if (table != Table::kNone) ShowTable(form, table);
  // Boot Info checks `Protocol` itself, before each message.
  if (table != Table::kBootInfo) RunStep(form, onFailure, [&] { ValidateProtocol(form); });
  RunStep(form, onFailure, [&] { SelectPort(form); });
  RunStep(form, onFailure, [&] { form.MSComm1.SetPortOpen(true); });
}

void SelectPort(Quillon& form) {
  form.MSComm1.SetPortOpen(false);  // an earlier run that failed may have left it open
  const std::string& name = form.ComPort.Text();
  if (name.empty()) {
    throw RunError(RunError::kTypeMismatch,
                   "Type mismatch: no port is selected. Select one in \"Com Port\".");
  }
  form.MSComm1.SetCommPort(ToInteger(name.substr(kPortNumberIndex), "Com Port"));
}

// The commands receive the loop variable `CurrentController` by reference. None of them changes it, so each
// number is processed at most once.
Next ForEachController(Quillon& form, const std::function<Next(int& controller)>& step) {
  for (form.CurrentController = 0; form.CurrentController < kControllers; ++form.CurrentController) {
    if (step(form.CurrentController) == Next::kEnd) return Next::kEnd;
  }
  return Next::kContinue;
}

void EndRun(Quillon& form) {
  form.message.Unload();
  form.MSComm1.SetPortOpen(false);
}

}  // namespace quillon
