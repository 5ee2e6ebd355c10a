#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::ComLoad_Click() {
  Try([this] {
    OpenRun();
    if (EraseTicked() && ProgramAll()) {
      TakeImageProtocol();
      TakeImageSpeed();
      CheckTicked();
    }
    EndRun();
  });
}

/// False: the run is over, cancelled or stopped by a controller that acknowledges at no speed.
bool Quillon::EraseTicked() {
  for (CurrentController = 0; CurrentController < kControllers; ++CurrentController) {
    const int i = CurrentController;
    const auto erase = [this, i] {
      ShowProgress(ControllerText(i) + " : Erasing ", false);
      Yield();
      FlushInput();
      return FlashErase(CurrentController);
    };
    const Turn turn = TakeTurn(i, erase);
    if (turn == Turn::kDone) MarkController(i);
    if (turn == Turn::kNoSpeedLeft) return false;
  }
  FlushInput();
  return !AbortRequested;
}

/// False: the operator cancelled.
bool Quillon::ProgramAll() {
  if (!useBB.Ticked()) MSComm1.SetSettings(DownloadSettings);
  FlashProg();
  FlushInput();
  return !AbortRequested;
}

void Quillon::CheckTicked() {
  for (CurrentController = 0; CurrentController < kControllers; ++CurrentController) {
    const auto check = [this] {
      if (RUD3.Ticked()) SendP4(CurrentController);
      return FlashCheck(CurrentController);
    };
    if (TakeTurn(CurrentController, check, false) == Turn::kDone) CompareWithFile(CurrentController);
  }
}

}  // namespace quillon
