#pragma once

#include <vector>

#include "log/log_parser.h"

namespace quillon {

enum class LoggedRunKind {
  kUnknown,
  kDownload,  ///< ended while erasing: parallel and serial look alike so far
  kParallelDownload,
  kSerialDownload,
  kFlashInfo,
  kBootInfo,
  kDetection,
  kToProtocol4,
  kToProtocol3,
};

/// A run: the messages from `first` up to `end`, which is not part of it; at least one.
struct Run {
  LoggedRunKind kind = LoggedRunKind::kUnknown;
  std::size_t first = 0;
  std::size_t end = 0;
};

/// Finds the runs. The log does not mark them, but each has its order: the controllers from the lowest number
/// up, and the phases of a download one after the other. A message out of this order begins a new run, and so
/// does one that repeats a request that was answered well. Two surveys of which the second asks only higher
/// numbers cannot be distinguished from one.
///
/// The checksum of a check after programming is compared with the one that was sent: `checksum` of the
/// message is set, and the entry of a different one is doubtful.
std::vector<Run> FindRuns(ParsedLog& log);

}  // namespace quillon
