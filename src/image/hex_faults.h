#pragma once

#include <optional>
#include <string>

#include "platform/text_file.h"

namespace quillon {

/// Where a firmware file contradicts itself. A run uses such a file as it is, since the flash's checksum
/// counts what is written in it; but the operator must know before anything is erased.
///
/// Each line of an Intel HEX file is ":", LL, AAAA, TT, LL data bytes and a check byte, all bytes as two hex
/// digits; the check byte makes the sum of all bytes of the line 0 in its low eight bits. The last line is
/// the end record, of type 01.
///
/// Returns the first fault in words, such as "line 37: check byte is 3F, should be 3E"; nothing when there is
/// none. The faults of a line are looked for from left to right; blank lines after the end record are none.
/// Raises what reading the lines raises.
std::optional<std::string> FirstHexFault(LineReader lines);

/// Whether one line at least is a data record without a fault. Raises what reading the lines raises.
bool HoldsData(LineReader lines);

}  // namespace quillon
