#include "workflows/speed_search.h"

#include <optional>
#include <string>

#include "link/outcome.h"

namespace quillon {
namespace {

/// The speed that a tried-speed box stands for: "V9600" is "9600".
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
  // Ticked first, so that a search on a line that fails comes to its end too.
  for (CheckBox& box : form.triedSpeeds) {
    if (SpeedOf(box) == speed) box.SetValue(CheckBox::kTicked);
  }
  SetLine(form, speed + ",N,8,2");
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
