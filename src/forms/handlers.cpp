// The small event handlers of the main window: each reacts to one control and updates others.
#include "forms/quillon.h"

namespace quillon {

void Quillon::EnableDownloads(bool enabled) {
  ComLoad.SetEnabled(enabled);
  ComLoad00.SetEnabled(enabled);
}

void Quillon::Protocol_Change() {
  const bool known = !Protocol.Text().empty();
  EnableDownloads(known && !FileCheksum.Text().empty());
  Auto.SetEnabled(known);
  ComInfo.SetEnabled(known);
  ComBoot.SetEnabled(known);
}

void Quillon::RUD3_Click() {
  Cmd3to4.SetVisible(RUD3.Ticked());
  Cmd4to3.SetVisible(RUD3.Ticked());
}

void Quillon::ALL_Click() {
  for (int i = 0; i < kControllers; ++i) C(i).SetValue(CheckBox::kTicked);
}

void Quillon::NONE_Click() {
  for (int i = 0; i < kControllers; ++i) C(i).SetValue(CheckBox::kUnticked);
}

void Quillon::Form_KeyUp(Key key, bool shiftHeld) {
  if (key == Key::kF12 && shiftHeld) ChkProto.SetVisible(true);
}

void Quillon::ComClose_Click() { Close(); }

void Quillon::MessageCommand1_Click() {
  AbortRequested = true;
  message.Unload();
  dialogs.AnswerBox();  // a failed line shows a box for each batch, which would delay the end of the run
}

}  // namespace quillon
