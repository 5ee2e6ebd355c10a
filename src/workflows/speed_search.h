#pragma once

#include <functional>
#include <string>

#include "forms/quillon.h"
#include "workflows/run_frame.h"

namespace quillon {

// The search for a controller's speed.
//
// The speed of a controller is unknown: a new one has its factory setting, a programmed one that of its
// image. A controller that is addressed at a wrong speed receives noise and does not answer. So a command
// that failed is repeated at the other speeds, once at each of the four. The first is the speed in `Vitesse`,
// since the controllers on one line mostly have the same; then the others in ascending order.

/// Marks all speeds as untried.
void ResetTriedSpeeds(Quillon& form);

/// Sets the open line to `settings`, such as "9600,N,8,2": bits per second, no parity, 8 data bits, 2 stop
/// bits. Raises RunError 380 for a speed that the device refuses.
void SetLine(Quillon& form, const std::string& settings);

/// Sets the line to the speed in `Vitesse` and marks it as tried. Raises RunError 380 like SetLine.
void ApplySpeed(Quillon& form);

/// Selects the lowest untried speed in `Vitesse`. Returns false when none is left.
bool NextUntriedSpeed(Quillon& form);

/// Whether controller `i` is ticked and the run is not cancelled.
bool TakesPart(const Quillon& form, int i);

struct Search {
  Phase phase;                               ///< the phase that the run events report
  OnFailure onFailure = OnFailure::kEndRun;  ///< when the device refuses a speed
  enum class Controllers {
    kTicked,
    kAny
  } controllers = Controllers::kTicked;                               ///< kTicked: and not after Cancel
  enum class Row { kMarked, kKept } rowBetweenSpeeds = Row::kMarked;  ///< kMarked: MarkController is called
};

enum class SearchResult {
  kDone,         ///< `command` returned true
  kSkipped,      ///< the controller does not take part
  kNoSpeedLeft,  ///< `command` returned false at all speeds
};

/// Executes `command` for controller `i` at one speed after the other until it returns true.
SearchResult SearchSpeed(Quillon& form, int i, const std::function<bool()>& command, const Search& search);

}  // namespace quillon
