// Parses the values of --controller, --fault and the physical causes.
#pragma once

#include <string>
#include <vector>

#include "bus/controller.h"

namespace bus {

/// A controller, or several that differ only in number and speed. Each KEY at most once, in any order:
///
///     0-31,baud=4800/9600,protocol=64
///     ---- -------------- -----------
///     numbers    |         KEY=VALUE, for all of them
///                speeds, assigned in turn: number 0 at 4800, 1 at 9600, 2 at 4800, ...
///
/// A fault. The parts have this order; those in brackets are optional:
///
///     3-4:code=E1/checksum@1-3%50          NUMBERS:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT]
///     --- ------- -------- --- --
///      |     |       |      |   in 50 of 100 cases
///      |     |       |      messages 1 to 3 of those counted; @2 is the second alone, @2- all from it on
///      |     |       count full checksums only; without it every message to the controller counts
///      |     answer with the code $E1
///      controllers 3 and 4, each with its own count
///
/// All functions throw std::invalid_argument; its text names the wrong word and the valid ones.

/// Returns the controllers in ascending order of their numbers.
std::vector<ControllerSetup> ReadControllers(const std::string& text);

/// A fault and the numbers of the controllers that have it.
struct FaultOption {
  int first = 0;
  int last = 0;
  Fault fault;
};
FaultOption ReadFault(const std::string& text);

/// "12-31,2.5", NUMBERS,PERCENT: 2.5 % at each of the controllers 12 to 31.
struct Share {
  int first = 0;
  int last = 0;
  double fraction = 0;  // above 0, at most 1
};
Share ReadShare(const std::string& text);

}  // namespace bus
