#pragma once

#include <iosfwd>
#include <string_view>

namespace quillon {

enum class Detail { kSummary, kEverything };

/// Writes an explanation of a log: a summary with one row for each run and controller, the doubtful places,
/// and with kEverything each message with its frame decoded.
void WriteLogReport(std::string_view log, Detail detail, std::ostream& out);

}  // namespace quillon
