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

/// Whether the controller is ticked and the run is not cancelled. Both can change during each exchange.
bool TakesPart(const Quillon& form, int controller);

/// What ends a search before it succeeds.
enum class StopsFor {
  kOperator,  ///< Cancel, or the controller was unticked (TakesPart)
  kNothing,
};

/// The colour of a failure in the controller's row while the next speed is tried.
enum class FailedRow { kBlack, kRed };

struct Search {
  Phase phase;                               ///< the phase that the run events report
  OnFailure onFailure = OnFailure::kEndRun;  ///< when the device refuses a speed
  StopsFor stopsFor = StopsFor::kOperator;
  FailedRow failedRow = FailedRow::kBlack;
};

enum class SearchResult {
  kSucceeded,    ///< `command` returned true
  kSkipped,      ///< the controller does not take part
  kNoSpeedLeft,  ///< `command` returned false at all speeds
};

/// Executes `command` for a controller at one speed after the other until it returns true.
SearchResult SearchSpeed(Quillon& form, int controller, const std::function<bool()>& command,
                         const Search& search);

}  // namespace quillon
