// A job record of any bytes: read as far as it goes, or refused with a reason.
#include <QJsonDocument>
#include <cstdlib>
#include <stdexcept>

#include "forms/quillon.h"
#include "records/job_record.h"

using namespace quillon;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// Whether a line contains the acknowledgement of the full checksum.
bool Confirms(const QByteArray& text, int controller) {
  for (const QByteArray& part : text.split('\n')) {
    const QJsonObject line = QJsonDocument::fromJson(part).object();
    if (line["event"] == "answer" && line["controller"] == controller && line["command"] == "full-checksum" &&
        line["reply"] == "accepted")
      return true;
  }
  return false;
}

void CheckControllers(const JobRecord& record, const QByteArray& text) {
  for (const auto& [number, controller] : record.controllers) {
    Require(number >= 0 && number < kControllers);
    Require(controller.done || !controller.good);
    Require(controller.progress != ControllerRecord::Progress::kConfirmed || Confirms(text, number));
  }
}

/// Without its last line a record names no more good controllers.
void CheckCut(const JobRecord& whole, const QByteArray& text) {
  const JobRecord cut = ParseRecord(text.first(text.lastIndexOf('\n', -2) + 1));
  for (const auto& [number, controller] : cut.controllers)
    Require(!controller.good || whole.controllers.at(number).good);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray text(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  try {
    const JobRecord record = ParseRecord(text);
    Require(record.ending.isEmpty() != record.cut.isEmpty());
    CheckControllers(record, text);
    CheckCut(record, text);
  } catch (const std::runtime_error&) {
    // It is not a job record, or it is damaged or of a newer format.
  }
  return 0;
}
