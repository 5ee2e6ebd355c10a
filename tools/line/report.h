// The result of a line check: as text, as JSON, as a page, as a job record.
#pragma once

#include <QJsonObject>
#include <string>
#include <vector>

#include "line/diagnosis.h"

namespace quillon {

struct LineReport {
  const LineMeasurement& measurement;
  LineDiagnosis diagnosis;
  std::vector<std::size_t> batchFrameSizes;  ///< bytes of each batch of the file; empty without one
};

std::string TextReport(const LineReport& report);

/// The events `controller` (one for each), `line` and, with a file, `file`.
std::vector<QJsonObject> JsonReport(const LineReport& report);

/// A page for a customer.
std::string HtmlReport(const LineReport& report);

/// Writes a job record into a folder (docs/job-record.md). Returns false when it could not be written, after
/// reporting that.
bool WriteRecord(const LineReport& report, const std::string& folder);

/// One line for a round: "   12.5 s    3 good     12 DAMAGED   13 -".
std::string RoundText(const LineMeasurement& measurement);

}  // namespace quillon
