#include "workflows/serial_download.h"

#include "commands/flash_erase.h"
#include "commands/flash_prog00.h"
#include "forms/run_error_box.h"
#include "link/exchange.h"
#include "link/outcome.h"
#include "workflows/after_programming.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

SearchResult EraseForDownload(Quillon& form, int& i) {
  const auto erase = [&] {
    ShowProgress(form, ControllerText(i) + " : Erasing ", StatusForm::kWithSpeed);
    form.run.Yield();
    Try(form, [&] { FlushInput(form); });
    return FlashErase(form, i);
  };
  return SearchSpeed(form, i, erase, {.phase = Phase::kErase, .onFailure = OnFailure::kContinue});
}

/// Reads back what was programmed, also after Cancel or when the controller was unticked meanwhile.
SearchResult CheckDownload(Quillon& form, int& i) {
  const auto check = [&] { return CheckProgrammed(form, i); };
  return SearchSpeed(
      form, i, check,
      {.phase = Phase::kCheck, .onFailure = OnFailure::kContinue, .controllers = Search::Controllers::kAny});
}

/// kEnd: the run was cancelled, or the controller acknowledged at no speed.
Next DownloadTo(Quillon& form, int& i) {
  const SearchResult erased = EraseForDownload(form, i);
  if (erased == SearchResult::kSkipped) return Next::kController;
  if (erased == SearchResult::kNoSpeedLeft) return Next::kEnd;
  MarkController(form, i);
  Try(form, [&] { FlushInput(form); });
  if (form.AbortRequested) return Next::kEnd;

  // An erased controller waits at the download speed, unless the erase frame told it to keep the line's.
  if (!form.useBB.Ticked()) Try(form, [&] { SetLine(form, form.DownloadSettings); });
  int y = i;  // the programming must not move the current controller
  FlashProg00(form, y);
  Try(form, [&] { FlushInput(form); });
  if (form.AbortRequested) return Next::kEnd;

  // From here on it executes the new firmware, which answers as the image says.
  ApplyImageProtocol(form);
  Try(form, [&] { ApplyImageSpeed(form); });
  if (CheckDownload(form, i) == SearchResult::kDone) CompareWithFile(form, i);
  return Next::kController;
}

}  // namespace

bool ComLoad00_Click(Quillon& form) {
  OpenRun(form, Table::kFlashInfo, OnFailure::kContinue);
  ForEachController(form,
                    [&](int& i) { return form.C(i).Ticked() ? DownloadTo(form, i) : Next::kController; });
  return Try(form, [&] { EndRun(form); });
}

}  // namespace quillon
