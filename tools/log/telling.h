#pragma once

#include <string>
#include <string_view>

namespace quillon {

enum class Detail { kSummary, kEverything };

/// The whole story of a log in words, lines ended by line feeds: a summary with one row for each run and
/// controller, the doubtful places, and with kEverything each message with its frame decoded.
std::string TellLog(std::string_view log, Detail detail);

}  // namespace quillon
