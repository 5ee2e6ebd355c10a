#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

// Each step here is taken on its own: one that fails at run time shows its box, and the next one is taken.

void Quillon::ComLoad00_Click() {
  PrepareRun("Flash Info", true);
  Try([this] { RequireProtocol(); });
  Try([this] { SelectPort(); });
  Try([this] { MSComm1.SetPortOpen(true); });
  bool goOn = true;
  for (CurrentController = 0; goOn && CurrentController < kControllers; ++CurrentController) {
    if (C(CurrentController).Ticked()) goOn = DownloadTo(CurrentController);
  }
  Try([this] { EndRun(); });
}

/// False: the run is over, cancelled or stopped by a controller that acknowledges at no speed.
bool Quillon::DownloadTo(int i) {
  const Turn erased = EraseForDownload(i);
  if (erased == Turn::kSkipped) return true;
  if (erased == Turn::kNoSpeedLeft) return false;
  MarkController(i);
  Try([this] { FlushInput(); });
  if (AbortRequested) return false;
  if (!useBB.Ticked()) Try([this] { MSComm1.SetSettings(DownloadSettings); });
  int y = i;
  FlashProg00(y);
  Try([this] { FlushInput(); });
  if (AbortRequested) return false;
  TakeImageProtocol();
  Try([this] { TakeImageSpeed(); });
  if (CheckDownload(i)) CompareWithFile(i);
  return true;
}

Quillon::Turn Quillon::EraseForDownload(int i) {
  for (ResetTriedSpeeds();; MarkController(i)) {
    Try([this] { ApplySpeed(); });
    if (!TakesPart(i)) return Turn::kSkipped;
    ShowProgress(ControllerText(i) + " : Erasing ", false);
    Yield();
    Try([this] { FlushInput(); });
    if (FlashErase(CurrentController)) return Turn::kDone;
    if (!NextUntriedSpeed()) return Turn::kNoSpeedLeft;
  }
}

/// What was programmed is read back whatever the operator does meanwhile; false: at no speed.
bool Quillon::CheckDownload(int i) {
  for (ResetTriedSpeeds();; MarkController(i)) {
    Try([this] { ApplySpeed(); });
    if (RUD3.Ticked()) SendP4(CurrentController);
    if (FlashCheck(CurrentController)) return true;
    if (!NextUntriedSpeed()) return false;
  }
}

}  // namespace quillon
