#pragma once

#include <vector>

#include "log/log_story.h"

namespace quillon {

enum class RunKind {
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

struct Run {
  RunKind kind = RunKind::kUnknown;
  std::vector<LoggedMessage> messages;  // at least one
};

/// Finds the runs. The log does not mark them, but each has its order: the controllers from the lowest number
/// up, and the phases of a download one after the other. A message out of this order begins a new
/// run, and so does one that asks again what was answered well. Two surveys of which the second asks only
/// higher numbers can't be told from one.
///
/// A check after programming is also held against the checksum that was sent: one that differs is doubtful.
std::vector<Run> FindRuns(std::vector<LoggedMessage> messages);

}  // namespace quillon
