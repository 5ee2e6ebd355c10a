// Download (Parallel): erase each ticked controller, stream the image once to all of them, check each.
//
// One controller that can't be erased ends the run before the first batch. The batches are heard by all: it
// would take them into a flash that still holds the old image.
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::ComLoad_Click() {
  Try([this] {
    OpenRun(Table::kFlashInfo);
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
  const Next next = ForEachController([this](int& i) {
    const Turn turn = SearchSpeed(i, [&] {
      ShowProgress(ControllerText(i) + " : Erasing ", StatusForm::kWithSpeed);
      Yield();
      FlushInput();
      return FlashErase(i);
    });
    if (turn == Turn::kDone) MarkController(i);
    return turn == Turn::kNoSpeedLeft ? Next::kEnd : Next::kController;
  });
  if (next == Next::kEnd) return false;
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
  ForEachController([this](int& i) {
    const auto check = [&] { return CheckProgrammed(i); };
    if (SearchSpeed(i, check, {.rowBetweenSpeeds = Search::Row::kKept}) == Turn::kDone) CompareWithFile(i);
    return Next::kController;
  });
}

}  // namespace quillon
