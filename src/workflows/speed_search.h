#pragma once

#include <functional>
#include <string>

#include "forms/quillon.h"
#include "workflows/run_frame.h"

namespace quillon {

// The search for a controller's speed.
//
// The speed at which a controller listens is unknown: a new one has its factory setting, a programmed one
// that of its image. A controller that is addressed at a wrong speed receives noise and does not answer. So a
// command that failed is repeated at the other speeds: at most one attempt at each of the four. The first is
// the speed in `Vitesse`, since the controllers on one line mostly share theirs; then the others in ascending
// order.

void ResetTriedSpeeds(Quillon& form);

/// Sets the open line to `settings`, such as "9600,N,8,2". Raises RunError 380 for a speed that the device
/// refuses.
void SetLine(Quillon& form, const std::string& settings);

/// Sets the line to the speed in `Vitesse` and ticks that speed as tried. Raises RunError 380 for a speed
/// that the device refuses.
void ApplySpeed(Quillon& form);

/// Puts the lowest untried speed into `Vitesse`. False: none is left.
bool NextUntriedSpeed(Quillon& form);

/// Whether controller `i` is ticked and the run is not cancelled.
bool TakesPart(const Quillon& form, int i);

/// How the speed search treats a controller.
struct Search {
  Phase phase;                               ///< what `command` does
  OnFailure onFailure = OnFailure::kEndRun;  ///< of the change of speed
  enum class Controllers {
    kTicked,
    kAny
  } controllers = Controllers::kTicked;  ///< kTicked: none after Cancel
  enum class Row { kMarked, kKept } rowBetweenSpeeds = Row::kMarked;
};

enum class SearchResult { kDone, kSkipped, kNoSpeedLeft };

/// Executes `command` for controller `i` at one speed after the other until it returns true.
SearchResult SearchSpeed(Quillon& form, int i, const std::function<bool()>& command, const Search& search);

}  // namespace quillon
