// Searches the speed of a controller. It is unknown: a new controller has its factory setting, a programmed
// one the speed of its image. At a wrong speed a controller receives noise and does not answer. So a command
// that failed is repeated at the other speeds:
//
//     selected: 19200   tried: 19200, 4800, 9600, 38400
//
// The first is the speed in the list `Vitesse`, since the controllers on one line mostly have the same. The
// others follow in ascending order. Each speed is selected in `Vitesse`, so the search for the next
// controller begins with the speed at which this one answered. The hidden check boxes `V4800` to `V38400` of
// the main window store which speeds were tried (`triedSpeeds`). `MSComm1` is the serial port.
#include "workflows/speed_search.h"

#include <optional>
#include <string>

#include "link/outcome.h"

namespace quillon {
namespace {

/// The speed of a box of `triedSpeeds`: "9600" for "V9600".
std::string SpeedOf(const CheckBox& box) { return box.Caption().substr(1); }

}  // namespace

void ResetTriedSpeeds(Quillon& form) {
  for (CheckBox& box : form.triedSpeeds) box.SetValue(CheckBox::kUnticked);
}

void SetLine(Quillon& form, const std::string& settings) {
  const bool changes = form.MSComm1.Settings() != settings;
  form.MSComm1.SetSettings(settings);
  if (changes) form.Report(SpeedChanged{settings.substr(0, settings.find(','))});
}

void ApplySpeed(Quillon& form) {
  const std::string& speed = form.Vitesse.Text();
  // Ticked before the line is set, so that the search ends even if the device refuses every speed.
  for (CheckBox& box : form.triedSpeeds) {
    if (SpeedOf(box) == speed) box.SetValue(CheckBox::kTicked);
  }
  SetLine(form, speed + ",N,8,2");  // no parity, 8 data bits, 2 stop bits
}

bool NextUntriedSpeed(Quillon& form) {
  for (const CheckBox& box : form.triedSpeeds) {
    if (box.Ticked()) continue;
    form.Vitesse.SetText(SpeedOf(box));
    return true;
  }
  return false;
}

bool TakesPart(const Quillon& form, int controller) {
  return form.C(controller).Ticked() && !form.AbortRequested;
}

SearchResult SearchSpeed(Quillon& form, int controller, const std::function<bool()>& command,
                         const Search& search) {
  std::optional<PhaseScope> phase;  // begins with the first attempt: a skipped controller reports no phase
  ResetTriedSpeeds(form);
  for (;;) {
    RunStep(form, search.onFailure, [&] { ApplySpeed(form); });
    if (search.stopsFor == StopsFor::kOperator && !TakesPart(form, controller)) return SearchResult::kSkipped;
    if (!phase) phase.emplace(form, controller, search.phase);
    if (command()) return SearchResult::kSucceeded;
    if (!NextUntriedSpeed(form)) return SearchResult::kNoSpeedLeft;
    if (search.failedRow == FailedRow::kBlack) MarkController(form, controller);
  }
}

}  // namespace quillon
