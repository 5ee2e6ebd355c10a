// A job record of any bytes: read as far as it goes, or refused with a reason.
#include <cstdlib>
#include <stdexcept>

#include "records/job_record.h"

using namespace quillon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const JobRecord record =
        ParseRecord(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (record.how.isEmpty() == record.cut.isEmpty()) std::abort();
    for (const auto& [number, controller] : record.controllers) {
      if (controller.good && !controller.done) std::abort();
    }
  } catch (const std::runtime_error&) {
    // It is not a job record, or one of a newer format.
  }
  return 0;
}
