// The event handlers of the main window that only change other controls. Buttons that start a run have their
// handlers in workflows/. A handler is named after control and event: a click on `ALL` calls ALL_Click.
//
//     Protocol             the number of the protocol, which every run needs
//     FileCheksum          the checksum of the chosen file; empty: no file (spelled so on purpose)
//     ComLoad, ComLoad00   the buttons "Download (Parallel)" and "Download (Serial)"
//     ComInfo, ComBoot     the buttons "Flash Info" and "Boot Info"
//     Auto                 the button that finds the controllers on the line
//     ALL, NONE, C(n)      the buttons "All" and "None"; the check box of controller n
//     RUD3                 the check box "Prot 3": the controllers are on protocol 3
//     Cmd3to4, Cmd4to3     the buttons that change the protocol of controllers
//     ChkProto             a check box that is only saved with the settings
#include "forms/quillon.h"

namespace quillon {

// Not a handler: called by Protocol_Change and when the file changes.
void Quillon::EnableDownloads(bool enabled) {
  ComLoad.SetEnabled(enabled);
  ComLoad00.SetEnabled(enabled);
}

// No frame can be built without a protocol number, and nothing can be downloaded without a file.
void Quillon::Protocol_Change() {
  const bool hasProtocol = !Protocol.Text().empty();
  const bool hasFile = !FileCheksum.Text().empty();
  EnableDownloads(hasProtocol && hasFile);
  Auto.SetEnabled(hasProtocol);
  ComInfo.SetEnabled(hasProtocol);
  ComBoot.SetEnabled(hasProtocol);
}

// Only controllers that can be on protocol 3 need these buttons.
void Quillon::RUD3_Click() {
  Cmd3to4.SetVisible(RUD3.Ticked());
  Cmd4to3.SetVisible(RUD3.Ticked());
}

void Quillon::ALL_Click() {
  for (int controller = 0; controller < kControllers; ++controller) C(controller).SetValue(CheckBox::kTicked);
}

void Quillon::NONE_Click() {
  for (int controller = 0; controller < kControllers; ++controller)
    C(controller).SetValue(CheckBox::kUnticked);
}

// Shift+F12 shows the check box that is hidden because it has no effect on runs.
void Quillon::Form_KeyUp(Key key, bool shiftHeld) {
  if (key == Key::kF12 && shiftHeld) ChkProto.SetVisible(true);
}

// The button "Exit" acts like the close button of the window.
void Quillon::ComClose_Click() { Close(); }

// The button "Cancel" of the progress window `message`. The run ends when it next tests AbortRequested.
void Quillon::MessageCommand1_Click() {
  AbortRequested = true;
  message.Unload();
  // Close an open error box too: on a failed line each batch shows one, and the run waits for it.
  dialogs.AnswerBox();
}

}  // namespace quillon
