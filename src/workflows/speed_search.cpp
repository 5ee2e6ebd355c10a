// Searches the speed of a controller. Its speed is unknown, and at a wrong one it receives noise and does not
// answer. So a command that failed is repeated at the other speeds: first at the one in the list `Vitesse`,
// then in ascending order. The ticks of the hidden boxes `V4800` to `V38400` are the tried speeds, `MSComm1`
// is the serial port.
#include "workflows/speed_search.h"

#include <optional>
#include <string>

#include "link/outcome.h"

namespace quillon {
namespace {

/// The speed of a box: "9600" for "V9600".
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

bool TakesPart(const Quillon& form, int i) { return form.C(i).Ticked() && !form.AbortRequested; }

SearchResult SearchSpeed(Quillon& form, int i, const std::function<bool()>& command, const Search& search) {
  std::optional<PhaseScope> phase;
  for (ResetTriedSpeeds(form);;) {
    RunStep(form, search.onFailure, [&] { ApplySpeed(form); });
    if (search.controllers == Search::Controllers::kTicked && !TakesPart(form, i))
      return SearchResult::kSkipped;
    if (!phase) phase.emplace(form, i, search.phase);
    if (command()) return SearchResult::kDone;
    if (!NextUntriedSpeed(form)) return SearchResult::kNoSpeedLeft;
    if (search.rowBetweenSpeeds == Search::Row::kMarked) MarkController(form, i);
  }
}

}  // namespace quillon
