// Download (Serial), for one ticked controller after the other:
//
//     erase, at any speed  ->  send each batch until it is acknowledged (FlashProg00), at the download speed
//     ->  read the flash and compare it with the file
//
// A failed step shows its box and the next one follows: an erased controller must not be left empty because
// one request to the port failed. `useBB` is the check box that keeps the speed while programming.
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

/// Reads the programmed flash, also after Cancel and when the operator unticked the controller meanwhile.
SearchResult CheckDownload(Quillon& form, int& i) {
  const auto check = [&] { return CheckProgrammed(form, i); };
  return SearchSpeed(
      form, i, check,
      {.phase = Phase::kCheck, .onFailure = OnFailure::kContinue, .controllers = Search::Controllers::kAny});
}

/// Returns kEnd after Cancel, or when the controller did not acknowledge the erase at any speed.
Next DownloadTo(Quillon& form, int& i) {
  const SearchResult erased = EraseForDownload(form, i);
  if (erased == SearchResult::kSkipped) return Next::kContinue;
  if (erased == SearchResult::kNoSpeedLeft) return Next::kEnd;
  MarkController(form, i);
  Try(form, [&] { FlushInput(form); });
  if (form.AbortRequested) return Next::kEnd;

  // The erased controller expects the download speed, unless `useBB` made it keep the current one.
  if (!form.useBB.Ticked()) Try(form, [&] { SetLine(form, form.DownloadSettings); });
  int y = i;  // a copy: FlashProg00 must not change `CurrentController`
  FlashProg00(form, y);
  Try(form, [&] { FlushInput(form); });
  if (form.AbortRequested) return Next::kEnd;

  // The controller now executes the new firmware, with the protocol and the speed of the image.
  ApplyImageProtocol(form);
  Try(form, [&] { ApplyImageSpeed(form); });
  if (CheckDownload(form, i) == SearchResult::kDone) CompareWithFile(form, i);
  return Next::kContinue;
}

}  // namespace

bool ComLoad00_Click(Quillon& form) {
  OpenRun(form, Table::kFlashInfo, OnFailure::kContinue);
  ForEachController(form, [&](int& i) { return form.C(i).Ticked() ? DownloadTo(form, i) : Next::kContinue; });
  return Try(form, [&] { EndRun(form); });
}

}  // namespace quillon
