#pragma once

#include <optional>
#include <string>

#include "platform/text_file.h"

namespace quillon {

/// Checks whether a firmware file is intact. A run uses a damaged file as it is, so the operator must be
/// warned before anything is erased.
///
/// Each line of an Intel HEX file is ":", LL, AAAA, TT, LL data bytes and a check byte, all bytes as two hex
/// digits; the check byte makes the low eight bits of the sum of all bytes 0. The last line has the type 01.
///
/// Returns the first fault, such as "line 37: check byte is 3F, should be 3E", or nothing. Empty lines after
/// the end record are no fault. Raises what reading the lines raises.
std::optional<std::string> FirstHexFault(LineReader lines);

/// Whether at least one line is a data record without a fault. Raises what reading the lines raises.
bool ContainsData(LineReader lines);

}  // namespace quillon
