// A log of any bytes: quillon-log explains it as far as it goes. Each message belongs to one run.
#include <cstdlib>
#include <sstream>

#include "log/log_report.h"
#include "log/runs.h"

using namespace quillon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::ostringstream report;
  WriteLogReport(text, Detail::kEverything, report);
  if (report.str().empty()) std::abort();
  ParsedLog log = ParseLog(text);
  std::size_t next = 0;
  for (const Run& run : FindRuns(log)) {
    if (run.first != next || run.end <= run.first) std::abort();
    next = run.end;
  }
  if (next != log.messages.size()) std::abort();
  return 0;
}
