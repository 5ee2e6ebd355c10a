#pragma once

#include <functional>

#include "forms/quillon.h"

namespace quillon {

// What all runs share. A run is what one of the large buttons starts: it opens the port, does something with
// each controller, one after the other, and closes the port.
//
// The procedure of a run returns whether it came to its end; false: a run-time failure ended it.
//
// Most runs end at the first step that fails at run time: nothing was changed yet, or everything can be
// repeated. The serial download continues, since a controller that it has erased must not be left empty.

/// What a run does when one of its steps fails at run time.
enum class OnFailure {
  kEndRun,    ///< the failure ends the run, which shows it
  kContinue,  ///< the box shows the failure, and the next step follows
};

/// One step of a run.
void RunStep(Quillon& form, OnFailure onFailure, const std::function<void()>& step);

/// What `Info` shows of a run.
enum class Table { kNone, kFlashInfo, kBootInfo };

/// The opening of a run: rows black, an earlier Cancel forgotten, `Info` shown, the port selected and open.
void OpenRun(Quillon& form, Table table, OnFailure onFailure = OnFailure::kEndRun);

/// Selects the port of `ComPort`, and closes it if an earlier run left it open. Raises RunError 13 when none
/// is selected.
void SelectPort(Quillon& form);

/// Whether a run continues with the next controller.
enum class Next { kController, kEnd };

/// Executes `step` for each number from 0 to 31, with `CurrentController` as its argument, until one returns
/// kEnd. Returns what the last step returned.
Next ForEachController(Quillon& form, const std::function<Next(int& i)>& step);

/// Closes `Message` and the port.
void EndRun(Quillon& form);

}  // namespace quillon
