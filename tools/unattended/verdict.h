#pragma once

#include <QString>

#include "driver/window_driver.h"
#include "unattended/error_category.h"
#include "unattended/task.h"

namespace quillon {

/// What a row or a box means.
struct Verdict {
  ErrorCategory category;
  QString word;    ///< for programs; it does not change between versions
  QString advice;  ///< for people: what to do next; empty for a good one
};

/// Judges a row of the table after a run of this kind, against the checksum of the file; an empty one is that
/// of no file.
Verdict JudgeRow(const WindowDriver::Row& row, const QString& fileChecksum, Job job);

/// The number in a run-error box, such as 8002; 0 in any other box.
int BoxNumber(const QString& text);

/// The error that a box reports.
ErrorCategory BoxCategory(const QString& text);

}  // namespace quillon
