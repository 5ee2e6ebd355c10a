// Connects each event of a control with the procedure that handles it. `Wire` at the end is the list. The
// names of the controls are fixed:
//
//     ComLoad, ComLoad00   "Download (Parallel)", "Download (Serial)"    Text1     time-out
//     ComInfo, ComBoot     "Flash Info", "Boot Info"                     Text2     delay between batches
//     Cmd3to4, Cmd4to3     change the protocol of controllers            Vitesse   speed
//     Command1             "Browse ..."; of `message`: "Cancel"          C(n)      box of controller n
//     useBB                keeps the speed while programming             RUD3      box "Prot 3"
#include "shell/wiring.h"

#include <functional>

#include "forms/run_error_box.h"
#include "image/hex_file.h"
#include "platform/scope_exit.h"
#include "shell/start_stop.h"
#include "workflows/auto_detection.h"
#include "workflows/boot_info.h"
#include "workflows/flash_info.h"
#include "workflows/parallel_download.h"
#include "workflows/protocol_buttons.h"
#include "workflows/serial_download.h"

namespace quillon {
namespace {

/// A click handler that does not start a run. It acts at once, also during a run. A failure is shown in the
/// run-error box.
std::function<void()> Handler(Quillon& form, void (Quillon::*handler)()) {
  return [&form, handler] { Try(form, [&] { (form.*handler)(); }); };
}

/// The settings at the start of a run, for observers such as the job record.
RunStarted MakeRunStarted(const Quillon& form, RunKind kind) {
  RunStarted started{.kind = kind,
                     .file = form.FileName.Text(),
                     .fileChecksum = form.FileCheksum.Text(),
                     .fileFault = form.fileFault,
                     .port = form.ComPort.Text(),
                     .speed = form.Vitesse.Text(),
                     .timeOut = form.Text1.Text(),
                     .delay = form.Text2.Text(),
                     .protocol = form.Protocol.Text(),
                     .prot3 = form.RUD3.Ticked(),
                     .keepSpeed = form.useBB.Ticked(),
                     .controllers = {}};
  for (int controller = 0; controller < kControllers; ++controller) {
    if (form.C(controller).Ticked()) started.controllers.push_back(controller);
  }
  return started;
}

/// Whether a run writes results into the rows of the table window `info`.
bool FillsTable(RunKind kind) {
  return kind != RunKind::kAuto && kind != RunKind::kToProtocol4 && kind != RunKind::kToProtocol3;
}

using Workflow = bool (*)(Quillon& form);

/// Executes a workflow, and reports the events RunStarted and RunEnded before and after it.
void ReportRun(Quillon& form, RunKind kind, Workflow workflow) {
  using How = RunEnded::How;
  How result = How::kAborted;  // remains when an exception leaves `workflow`
  const ScopeExit ended([&] {
    form.info.ComClose.SetToolTip("");
    form.Report(RunEnded{result});
  });
  form.chosenInRun = false;
  RefreshFileWarning(form);
  form.info.ComClose.SetToolTip("Closing the table also clears it.");
  form.Report(MakeRunStarted(form, kind));
  const bool succeeded = workflow(form);
  result = form.AbortRequested ? How::kCancelled : succeeded ? How::kFinished : How::kFailed;
}

/// A click handler that starts a run. Runs share the port, the rows and `CurrentController`, so while one is
/// under way another click only beeps. It also beeps while a chosen file is being read, because the run would
/// use the facts of the former file. After a run that fills `Info`, that window is brought to the front.
std::function<void()> StartsRun(Quillon& form, RunKind kind, Workflow workflow) {
  return [&form, kind, workflow] {
    if (form.fileBeingRead) return form.dialogs.Beep();
    const bool executed = form.run.Run([&] { ReportRun(form, kind, workflow); });
    if (!executed) return form.dialogs.Beep();  // another run is under way
    if (form.run.EndRequested()) return Form_Unload(form);
    if (FillsTable(kind) && form.info.Visible()) form.info.Show();
    form.dialogs.RequestAttention();
  };
}

/// Closes the main window. If a run is under way, it is aborted, and its click handler calls Form_Unload.
void RequestEnd(Quillon& form) {
  form.run.RequestEnd();
  form.dialogs.AnswerBox();
  if (!form.run.UnderWay()) Form_Unload(form);
}

void WireInputs(Quillon& form) {
  form.FileName.Change = [&form] { FileName_Change(form); };
  form.Command1.Click = [&form] { Try(form, [&] { Command1_Click(form); }); };
  form.FileDropped = [&form](const std::string& path) { Try(form, [&] { DropFile(form, path); }); };
  form.Protocol.Change = [&form] { form.Protocol_Change(); };
  form.RUD3.Click = [&form] { form.RUD3_Click(); };
  form.ComPort.ItemNote = [&form](std::size_t index) {
    const PortDescription port = form.MSComm1.Describe(static_cast<int>(index) + 1);
    return ComboBox::Note{.toolTip = port.text, .faint = !port.exists};
  };
}

}  // namespace

void Wire(Quillon& form) {
  WireInputs(form);

  form.ALL.Click = Handler(form, &Quillon::ALL_Click);
  form.NONE.Click = Handler(form, &Quillon::NONE_Click);
  form.ComClose.Click = Handler(form, &Quillon::ComClose_Click);

  form.ComLoad.Click = StartsRun(form, RunKind::kParallel, &ComLoad_Click);
  form.ComLoad00.Click = StartsRun(form, RunKind::kSerial, &ComLoad00_Click);
  form.ComInfo.Click = StartsRun(form, RunKind::kFlashInfo, &ComInfo_Click);
  form.ComBoot.Click = StartsRun(form, RunKind::kBootInfo, &ComBoot_Click);
  form.Auto.Click = StartsRun(form, RunKind::kAuto, &Auto_Click);
  form.Cmd3to4.Click = StartsRun(form, RunKind::kToProtocol4, &Cmd3to4_Click);
  form.Cmd4to3.Click = StartsRun(form, RunKind::kToProtocol3, &Cmd4to3_Click);

  form.KeyUp = [&form](Form::Key key, bool shiftHeld) { form.Form_KeyUp(key, shiftHeld); };
  form.CloseRequest = [&form] { RequestEnd(form); };

  form.message.Command1.Click = [&form] { form.MessageCommand1_Click(); };
  form.message.CloseRequest = [&form] { form.MessageCommand1_Click(); };
}

}  // namespace quillon
