// The result of a line check: as text, as JSON, as a page.
#pragma once

#include <string>
#include <vector>

#include "line/diagnosis.h"

namespace quillon {

struct LineReport {
  const LineMeasurement& measurement;
  LineDiagnosis diagnosis;
  std::vector<std::size_t> batchFrames;  ///< bytes of each batch of the file; empty without one
};

std::string TextReport(const LineReport& report);
std::string JsonReport(const LineReport& report);

/// A page for a customer. `when` is the date and time.
std::string HtmlReport(const LineReport& report, const std::string& when);

/// Writes a job record of a measurement that took so many seconds into a folder (docs/job-record.md). False:
/// it could not be written, which was reported.
bool WriteRecord(const LineReport& report, const std::string& folder, double seconds);

/// One line for a round: "   12.5 s    3 good     12 DAMAGED   13 -".
std::string RoundText(const LineMeasurement& measurement);

}  // namespace quillon
