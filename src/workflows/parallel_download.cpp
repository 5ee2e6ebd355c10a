// Download (Parallel):
//
//     erase each ticked controller, at any speed  ->  broadcast the image at the download speed
//     ->  confirm the full checksum (FlashProg)   ->  read each flash and compare it with the file
//
// If one controller can't be erased, the run ends before the first batch: that controller would write the
// broadcast batches over the image that it still has. `useBB` is the check box that keeps the speed of the
// line during the broadcast.
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

/// Returns false after Cancel, or when a controller did not acknowledge at any speed.
bool EraseTicked(Quillon& form) {
  const Next next = ForEachController(form, [&](int& i) {
    const auto erase = [&] {
      ShowProgress(form, ControllerText(i) + " : Erasing ", StatusForm::kWithSpeed);
      form.run.Yield();
      FlushInput(form);
      return FlashErase(form, i);
    };
    const SearchResult result = SearchSpeed(form, i, erase, {.phase = Phase::kErase});
    if (result == SearchResult::kDone) MarkController(form, i);
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

/// Reads the controllers back and compares them with the file. A row keeps the failure of the last speed
/// while another speed is tried.
void CheckTicked(Quillon& form) {
  ForEachController(form, [&](int& i) {
    const auto check = [&] { return CheckProgrammed(form, i); };
    if (SearchSpeed(form, i, check, {.phase = Phase::kCheck, .rowBetweenSpeeds = Search::Row::kKept}) ==
        SearchResult::kDone)
      CompareWithFile(form, i);
    return Next::kContinue;
  });
}

}  // namespace

bool ComLoad_Click(Quillon& form) {
  return Try(form, [&] {
    OpenRun(form, Table::kFlashInfo);
    if (EraseTicked(form) && ProgramAll(form)) {
      ApplyImageProtocol(form);
      ApplyImageSpeed(form);
      CheckTicked(form);
    }
    EndRun(form);
  });
}

}  // namespace quillon
