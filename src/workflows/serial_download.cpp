// Download (Serial), the click handler `ComLoad00_Click`. For one ticked controller after the other:
//
//     1  erase it, at the speed at which it answers
//     2  send it each batch and then the full checksum, at the download speed (FlashProg00)
//     3  read its flash and compare it with the file
//
// A request to the port that fails shows the run-error box (Try), and the run continues: an erased controller
// must not be left empty because one request failed. If the check box `useBB` is ticked, the line keeps its
// speed in step 2.
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

SearchResult EraseForDownload(Quillon& form, int& controller) {
  const auto erase = [&] {
    ShowProgress(form, ControllerText(controller) + " : Erasing ", StatusForm::kWithSpeed);
    form.run.Yield();  // paints the status line
    Try(form, [&] { FlushInput(form); });
    return FlashErase(form, controller);
  };
  return SearchSpeed(form, controller, erase, {.phase = Phase::kErase, .onFailure = OnFailure::kContinue});
}

/// Reads the programmed flash, at the first speed at which the controller answers. Once it has begun, neither
/// Cancel nor an unticked check box ends this search.
SearchResult CheckDownload(Quillon& form, int& controller) {
  const auto check = [&] { return CheckProgrammed(form, controller); };
  return SearchSpeed(
      form, controller, check,
      {.phase = Phase::kCheck, .onFailure = OnFailure::kContinue, .stopsFor = StopsFor::kNothing});
}

/// Returns kEnd after Cancel, or when the controller did not acknowledge the erase at any speed.
Next DownloadTo(Quillon& form, int& controller) {
  const SearchResult erased = EraseForDownload(form, controller);
  if (erased == SearchResult::kSkipped) return Next::kContinue;
  if (erased == SearchResult::kNoSpeedLeft) return Next::kEnd;
  Try(form, [&] { FlushInput(form); });
  if (form.AbortRequested) return Next::kEnd;

  // The erased controller expects the download speed, unless `useBB` made it keep the current one.
  if (!form.useBB.Ticked()) Try(form, [&] { SetLine(form, form.DownloadSettings); });
  FlashProg00(form, controller);
  Try(form, [&] { FlushInput(form); });
  if (form.AbortRequested) return Next::kEnd;

  // The controller now executes the new firmware, with the protocol and the speed of the image.
  ApplyImageProtocol(form);
  Try(form, [&] { ApplyImageSpeed(form); });
  if (CheckDownload(form, controller) == SearchResult::kSucceeded) CompareWithFile(form, controller);
  return Next::kContinue;
}

}  // namespace

bool ComLoad00_Click(Quillon& form) {
  OpenRun(form, Table::kFlashInfo, OnFailure::kContinue);
  ForEachController(form, [&](int& controller) {
    return form.C(controller).Ticked() ? DownloadTo(form, controller) : Next::kContinue;
  });
  return Try(form, [&] { EndRun(form); });
}

}  // namespace quillon
