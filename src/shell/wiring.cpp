// Which event sets off what: the place to begin when you follow a click through the sources.
#include <utility>

#include "platform/finally.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::Wire() {
  FileName.Change = [this] { FileName_Change(); };
  Protocol.Change = [this] { Protocol_Change(); };
  RUD3.Click = [this] { RUD3_Click(); };

  ComPort.ItemNote = [this](std::size_t index) {
    const PortDescription port = MSComm1.Describe(static_cast<int>(index) + 1);
    return ComboBox::Note{.toolTip = port.text, .faint = !port.there};
  };

  Command1.Click = Handler(&Quillon::Command1_Click);
  ALL.Click = Handler(&Quillon::ALL_Click);
  NONE.Click = Handler(&Quillon::NONE_Click);
  ComClose.Click = Handler(&Quillon::ComClose_Click);

  ComLoad.Click = Workflow(&Quillon::ComLoad_Click);
  ComLoad00.Click = Workflow(&Quillon::ComLoad00_Click);
  ComInfo.Click = Workflow(&Quillon::ComInfo_Click);
  ComBoot.Click = Workflow(&Quillon::ComBoot_Click);
  Auto.Click = Workflow(&Quillon::Auto_Click);
  Cmd3to4.Click = Workflow(&Quillon::Cmd3to4_Click);
  Cmd4to3.Click = Workflow(&Quillon::Cmd4to3_Click);

  KeyUp = [this](Key key, bool shiftHeld) { Form_KeyUp(key, shiftHeld); };
  CloseRequest = [this] { RequestEnd(); };
  FileDropped = [this](const std::string& path) { Try([&] { FileName.SetText(path); }); };

  message.Command1.Click = [this] { MessageCommand1_Click(); };
  message.CloseRequest = [this] { MessageCommand1_Click(); };
}

/// A click that acts at once, in the middle of a run too. What it could not do shows in the run-error box.
std::function<void()> Quillon::Handler(void (Quillon::*handler)()) {
  return [this, handler] { Try([this, handler] { (this->*handler)(); }); };
}

/// A click that starts a run. Runs share the port, the rows and `CurrentController`, so while one is under
/// way another click only beeps.
std::function<void()> Quillon::Workflow(void (Quillon::*handler)()) {
  return [this, handler] {
    if (std::exchange(runUnderWay_, true)) {
      desk_.Beep();
      return;
    }
    runYieldDepth_ = yieldDepth_;
    try {
      const Finally over([this] { runUnderWay_ = false; });
      (this->*handler)();
    } catch (const RunUnwound&) {
      // The operator closed the main window; what the run had borrowed is back in its place.
    }
    if (ending_) return Form_Unload();
    desk_.CallOperator();
  };
}

void Quillon::RequestEnd() {
  ending_ = true;
  desk_.AnswerBox();
  if (!runUnderWay_) Form_Unload();
}

}  // namespace quillon
