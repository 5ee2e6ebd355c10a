#pragma once

#include <functional>

#include "forms/quillon.h"

namespace quillon {

// What all runs have in common. A button starts a run. The run opens the port, processes the controllers one
// after the other, and closes the port. Its procedure returns false when a run-time failure ended it.
//
// Most runs end at the first step that fails at run time: nothing was changed yet, or everything can be
// repeated. The serial download continues, since a controller that it has erased must not be left empty.

/// What a run does when one of its steps fails at run time.
enum class OnFailure {
  kEndRun,    ///< the failure ends the run, and its button shows the run-error box
  kContinue,  ///< the run-error box is shown, and the next step follows
};

/// Executes one step of a run.
void RunStep(Quillon& form, OnFailure onFailure, const std::function<void()>& step);

/// The contents of `Info` during a run.
enum class Table { kNone, kFlashInfo, kBootInfo };

/// Begins a run: resets rows and `AbortRequested`, shows `Info`, checks `Protocol`, opens the port.
void OpenRun(Quillon& form, Table table, OnFailure onFailure = OnFailure::kEndRun);

/// Closes a port that is still open and selects that of `ComPort`. Raises RunError 13 if none is selected.
void SelectPort(Quillon& form);

/// How a run continues after one controller.
enum class Next { kContinue, kEnd };

/// Calls `step(CurrentController)` for each number, 0 to 31, until it returns kEnd. Returns the last result.
/// The step receives the variable by reference, as the commands do, and does not change it.
Next ForEachController(Quillon& form, const std::function<Next(int& controller)>& step);

/// Closes `Message` and the port.
void EndRun(Quillon& form);

}  // namespace quillon
