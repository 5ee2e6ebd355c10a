// Which event of which control starts which procedure.
#include "shell/wiring.h"

#include <functional>

#include "forms/run_error_box.h"
#include "image/hex_file.h"
#include "shell/start_stop.h"
#include "workflows/auto_detection.h"
#include "workflows/boot_info.h"
#include "workflows/flash_info.h"
#include "workflows/parallel_download.h"
#include "workflows/protocol_buttons.h"
#include "workflows/serial_download.h"

namespace quillon {
namespace {

/// A click that acts at once, also during a run. The run-error box shows what it could not do.
std::function<void()> Handler(Quillon& form, void (Quillon::*handler)()) {
  return [&form, handler] { Try(form, [&] { (form.*handler)(); }); };
}

/// A click that starts a run. Runs share the port, the rows and `CurrentController`, so while one is under
/// way another click only beeps.
std::function<void()> Workflow(Quillon& form, void (*workflow)(Quillon& form)) {
  return [&form, workflow] {
    if (!form.run.Run([&] { workflow(form); })) return form.dialogs.Beep();
    if (form.run.Ending()) return Form_Unload(form);
    form.dialogs.CallOperator();
  };
}

/// The operator closes the main window. A run that is under way is aborted first; its click then unloads.
void RequestEnd(Quillon& form) {
  form.run.RequestEnd();
  form.dialogs.AnswerBox();
  if (!form.run.UnderWay()) Form_Unload(form);
}

void WireSettings(Quillon& form) {
  form.FileName.Change = [&form] { FileName_Change(form); };
  form.FileDropped = [&form](const std::string& path) { Try(form, [&] { form.FileName.SetText(path); }); };
  form.Protocol.Change = [&form] { form.Protocol_Change(); };
  form.RUD3.Click = [&form] { form.RUD3_Click(); };
  form.ComPort.ItemNote = [&form](std::size_t index) {
    const PortDescription port = form.MSComm1.Describe(static_cast<int>(index) + 1);
    return ComboBox::Note{.toolTip = port.text, .faint = !port.there};
  };
}

}  // namespace

void Wire(Quillon& form) {
  WireSettings(form);

  form.Command1.Click = Handler(form, &Quillon::Command1_Click);
  form.ALL.Click = Handler(form, &Quillon::ALL_Click);
  form.NONE.Click = Handler(form, &Quillon::NONE_Click);
  form.ComClose.Click = Handler(form, &Quillon::ComClose_Click);

  form.ComLoad.Click = Workflow(form, &ComLoad_Click);
  form.ComLoad00.Click = Workflow(form, &ComLoad00_Click);
  form.ComInfo.Click = Workflow(form, &ComInfo_Click);
  form.ComBoot.Click = Workflow(form, &ComBoot_Click);
  form.Auto.Click = Workflow(form, &Auto_Click);
  form.Cmd3to4.Click = Workflow(form, &Cmd3to4_Click);
  form.Cmd4to3.Click = Workflow(form, &Cmd4to3_Click);

  form.KeyUp = [&form](Form::Key key, bool shiftHeld) { form.Form_KeyUp(key, shiftHeld); };
  form.CloseRequest = [&form] { RequestEnd(form); };

  form.message.Command1.Click = [&form] { form.MessageCommand1_Click(); };
  form.message.CloseRequest = [&form] { form.MessageCommand1_Click(); };
}

}  // namespace quillon
