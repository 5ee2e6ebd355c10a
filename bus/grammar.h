#pragma once

#include <string>
#include <vector>

#include "bus/controller.h"

namespace bus {

/// The two small languages of the command line: what hangs on the line, and what goes wrong there.
///
/// A controller, or several alike, each KEY at most once, in any order:
///
///     0-31,baud=4800/9600,protocol=64
///     ---- -------------- -----------
///     numbers    |         KEY=VALUE of all of them
///                speeds, given in turn: number 0 at 4800, 1 at 9600, 2 at 4800, ...
///
/// A fault, its parts in this order, those in brackets left out at will:
///
///     3-4:code=E1/checksum@1-3%50          NUMBERS:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT]
///     --- ------- -------- --- --
///      |     |       |      |   in 50 of 100 cases
///      |     |       |      messages 1 to 3 of those that count; @2 is the second alone, @2- all from it on
///      |     |       count full checksums only; without it every message that the controller takes counts
///      |     answer with the code $E1
///      controllers 3 and 4, each with a count of its own
///
/// Both throw std::invalid_argument; its text names the word that does not fit and those that would.

/// The controllers that `text` tells of, by rising number.
std::vector<ControllerSetup> ReadControllers(const std::string& text);

/// A fault, and the numbers of the controllers at which it strikes.
struct NamedFault {
  int first = 0;
  int last = 0;
  Fault fault;
};
NamedFault ReadFault(const std::string& text);

}  // namespace bus
