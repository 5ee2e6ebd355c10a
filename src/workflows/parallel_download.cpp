// Download (Parallel), the click handler `ComLoad_Click`:
//
//     1  erase each ticked controller, at the speed at which it answers
//     2  broadcast the image at the download speed, send each controller the full checksum (FlashProg)
//     3  read the flash of each ticked controller and compare it with the file
//
// If one controller can't be erased, the run ends before the first batch: that controller would write the
// broadcast batches over the image that it still has. If the check box `useBB` is ticked, the line keeps its
// speed in step 2.
#include "workflows/parallel_download.h"

#include "commands/flash_erase.h"
#include "commands/flash_prog.h"
#include "forms/run_error_box.h"
#include "link/exchange.h"
#include "link/outcome.h"
#include "workflows/after_programming.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

/// Erases one controller at the current speed. Returns whether it acknowledged.
bool Erase(Quillon& form, int& controller) {
  ShowProgress(form, ControllerText(controller) + " : Erasing ", StatusForm::kWithSpeed);
  form.run.Yield();  // paints the status line
  FlushInput(form);
  return FlashErase(form, controller);
}

/// Returns false after Cancel, or when a controller did not acknowledge at any speed.
bool EraseTicked(Quillon& form) {
  const Next next = ForEachController(form, [&](int& controller) {
    const auto erase = [&] { return Erase(form, controller); };
    const SearchResult result = SearchSpeed(form, controller, erase, {.phase = Phase::kErase});
    return result == SearchResult::kNoSpeedLeft ? Next::kEnd : Next::kContinue;
  });
  if (next == Next::kEnd) return false;
  FlushInput(form);
  return !form.AbortRequested;
}

/// Returns false after Cancel.
bool ProgramAll(Quillon& form) {
  if (!form.useBB.Ticked()) SetLine(form, form.DownloadSettings);
  FlashProg(form);
  FlushInput(form);
  return !form.AbortRequested;
}

/// Reads the controllers back and compares them with the file.
void CheckTicked(Quillon& form) {
  ForEachController(form, [&](int& controller) {
    const auto check = [&] { return CheckProgrammed(form, controller); };
    const SearchResult result =
        SearchSpeed(form, controller, check, {.phase = Phase::kCheck, .failedRow = FailedRow::kRed});
    if (result == SearchResult::kSucceeded) CompareWithFile(form, controller);
    return Next::kContinue;
  });
}

}  // namespace

bool ComLoad_Click(Quillon& form) {
  return Try(form, [&] {
    OpenRun(form, Table::kFlashInfo);
    if (EraseTicked(form) && ProgramAll(form)) {
      // The controllers now execute the new firmware, with the protocol and the speed of the image.
      ApplyImageProtocol(form);
      ApplyImageSpeed(form);
      CheckTicked(form);
    }
    EndRun(form);
  });
}

}  // namespace quillon
