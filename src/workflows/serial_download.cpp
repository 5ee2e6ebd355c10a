// Download (Serial): each ticked controller erased, programmed batch by batch and checked before the next
// one.
//
// A step that fails at run time shows its box, and the next step is taken: the controller that was erased a
// moment ago must not be left empty because the status of the port could not be read once.
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::ComLoad00_Click() {
  OpenRun(Table::kFlashInfo, OnFailure::kGoOn);
  ForEachController([this](int& i) { return C(i).Ticked() ? DownloadTo(i) : Next::kController; });
  Try([this] { EndRun(); });
}

/// kController: go on with the next one. kEnd: the run is over, cancelled or stopped by a controller that
/// acknowledges at no speed.
Quillon::Next Quillon::DownloadTo(int& i) {
  const Turn erased = EraseForDownload(i);
  if (erased == Turn::kSkipped) return Next::kController;
  if (erased == Turn::kNoSpeedLeft) return Next::kEnd;
  MarkController(i);
  Try([this] { FlushInput(); });
  if (AbortRequested) return Next::kEnd;

  // An erased controller waits at the download speed, unless it was told to keep the line's.
  if (!useBB.Ticked()) Try([this] { MSComm1.SetSettings(DownloadSettings); });
  int y = i;  // the programming must not move the current controller
  FlashProg00(y);
  Try([this] { FlushInput(); });
  if (AbortRequested) return Next::kEnd;

  // From here on it runs the new firmware, which answers as the image says.
  TakeImageProtocol();
  Try([this] { TakeImageSpeed(); });
  if (CheckDownload(i) == Turn::kDone) CompareWithFile(i);
  return Next::kController;
}

Quillon::Turn Quillon::EraseForDownload(int& i) {
  const auto erase = [&] {
    ShowProgress(ControllerText(i) + " : Erasing ", StatusForm::kWithSpeed);
    Yield();
    Try([this] { FlushInput(); });
    return FlashErase(i);
  };
  return SearchSpeed(i, erase, {.onFailure = OnFailure::kGoOn});
}

/// What was programmed is read back, whatever the operator cancels or unticks meanwhile.
Quillon::Turn Quillon::CheckDownload(int& i) {
  const auto check = [&] { return CheckProgrammed(i); };
  return SearchSpeed(i, check, {.onFailure = OnFailure::kGoOn, .takers = Search::Takers::kAny});
}

}  // namespace quillon
