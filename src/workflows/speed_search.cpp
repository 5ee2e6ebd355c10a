// The search for a controller's speed.
//
// Nobody knows at which speed a controller listens: a new one has its factory's, a programmed one its
// image's. One that is addressed at a wrong speed hears noise and stays silent. So a command that failed is
// tried again at the other speeds. The search begins at the speed that stands in `Vitesse`: controllers on
// one line mostly share theirs, and the last one found is the best guess for the next.
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr int kFirstBoxTop = 840;
constexpr int kBoxPitch = 180;

/// The speed that a tried-speed box stands for: "V9600" is "9600".
std::string SpeedOf(const CheckBox& box) { return box.Caption().substr(1); }

}  // namespace

/// One hidden box for each speed, `V4800` to `V38400`: ticked when the current controller was tried at it.
void Quillon::AddTriedSpeedBoxes() {
  int top = kFirstBoxTop;
  for (const char* speed : kSpeeds) {
    const std::string name = std::string("V") + speed;
    triedSpeeds_.emplace_back(*this, name, Place{6285, top, 855, 195},
                              Design{.text = name, .visible = false});
    top += kBoxPitch;
  }
}

void Quillon::ResetTriedSpeeds() {
  for (CheckBox& box : triedSpeeds_) box.SetValue(CheckBox::kUnticked);
}

void Quillon::ApplySpeed() {
  const std::string& speed = Vitesse.Text();
  // Ticked first: a search on a line that fails must come to its end too.
  for (CheckBox& box : triedSpeeds_) {
    if (SpeedOf(box) == speed) box.SetValue(CheckBox::kTicked);
  }
  MSComm1.SetSettings(speed + ",N,8,2");
}

bool Quillon::NextUntriedSpeed() {
  for (const CheckBox& box : triedSpeeds_) {
    if (box.Ticked()) continue;
    Vitesse.SetText(SpeedOf(box));
    return true;
  }
  return false;
}

bool Quillon::TakesPart(int i) const { return C(i).Ticked() && !AbortRequested; }

Quillon::Turn Quillon::SearchSpeed(int i, const std::function<bool()>& command, const Search& search) {
  for (ResetTriedSpeeds();;) {
    TakeStep(search.onFailure, [this] { ApplySpeed(); });
    if (search.takers == Search::Takers::kTicked && !TakesPart(i)) return Turn::kSkipped;
    if (command()) return Turn::kDone;
    if (!NextUntriedSpeed()) return Turn::kNoSpeedLeft;
    if (search.rowBetweenSpeeds == Search::Row::kMarked) MarkController(i);
  }
}

}  // namespace quillon
