#pragma once

#include <set>
#include <string>
#include <vector>

#include "bus/controller.h"
#include "support/test_program.h"

namespace quillon::test {

/// Witnesses of a run that do not believe the tool: what was on the line, what the log file holds.

/// What a frame of the tool asks for.
bus::Command CommandOf(const Bytes& frame);

/// The controller that a frame is for; -1: all of them.
int AddresseeOf(const Bytes& frame);

/// Whether each frame of a run stands in the log, in their order, from `from` on; that moves to where they
/// end. A frame that was sent again at once stands there once.
bool LogHolds(const std::string& log, const std::vector<SentBytes>& frames, std::size_t& from);

}  // namespace quillon::test
