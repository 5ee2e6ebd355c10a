// The beginning and the end of a run.
#include "workflows/run_frame.h"

#include <string>

#include "forms/run_error_box.h"
#include "link/outcome.h"
#include "platform/conversions.h"

namespace quillon {
namespace {

constexpr std::size_t kPortNumberIndex = 4;  // of the number in "COM 7"

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

/// Raises RunError when `Protocol` does not contain a valid number.
void ValidateProtocol(const Quillon& form) { form.ProtocolNumber(); }

}  // namespace

void RunStep(Quillon& form, OnFailure onFailure, const std::function<void()>& step) {
  if (onFailure == OnFailure::kContinue) {
    Try(form, step);
  } else {
    step();
  }
}

void OpenRun(Quillon& form, Table table, OnFailure onFailure) {
  for (int i = 0; i < kControllers; ++i) MarkController(form, i);
  form.AbortRequested = false;
  if (table != Table::kNone) ShowTable(form, table);
  // Boot Info reads `Protocol` before each message.
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

Next ForEachController(Quillon& form, const std::function<Next(int& i)>& step) {
  for (form.CurrentController = 0; form.CurrentController < kControllers; ++form.CurrentController) {
    if (step(form.CurrentController) == Next::kEnd) return Next::kEnd;
  }
  return Next::kController;
}

void EndRun(Quillon& form) {
  form.message.Unload();
  form.MSComm1.SetPortOpen(false);
}

}  // namespace quillon
