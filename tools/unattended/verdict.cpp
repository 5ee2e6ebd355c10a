#include "unattended/verdict.h"

#include <QRegularExpression>
#include <algorithm>
#include <array>

#include "platform/run_error.h"

namespace quillon {
namespace {

const QColor kBlack(Qt::black);

/// The texts of a failed row, and what they mean.
struct FailedRow {
  const char* version;
  const char* checksum;
  const char* word;
  const char* advice;
};
constexpr FailedRow kFailedRows[] = {
    {"No", "Answer", "no-answer",
     "check power, cable, number and protocol; for an erase give a longer --timeout"},
    {"Communication", "ERROR", "damaged-answers",
     "check termination and shielding, and look for two controllers with this number"},
    {"communication", "Failure", "refused", "load it again with the step serial"},
    {"Erasing", "Failure", "erase-refused", "switch its power off and on, then try again"},
    {"Programmation", "ERROR", "not-programmed", "load it again with the step serial"},
};

/// From the least to the worst.
constexpr std::array kByWeight = {ErrorCategory::kNone,  ErrorCategory::kController,
                                  ErrorCategory::kUsage, ErrorCategory::kFile,
                                  ErrorCategory::kPort,  ErrorCategory::kCancelled};

Verdict Bad(const char* word, const char* advice) { return {ErrorCategory::kController, word, advice}; }

}  // namespace

ErrorCategory Worse(ErrorCategory one, ErrorCategory other) {
  const auto weight = [](ErrorCategory category) { return std::ranges::find(kByWeight, category); };
  return weight(one) < weight(other) ? other : one;
}

Verdict JudgeRow(const WindowDriver::Row& row, const QString& fileChecksum, Job job) {
  for (const FailedRow& failed : kFailedRows) {
    if (row.version == failed.version && row.checksum == failed.checksum)
      return Bad(failed.word, failed.advice);
  }
  if (row.version.isEmpty() || row.checksum.isEmpty()) {
    return Bad("not-read", IsDownload(job) ? "it was not read back and may be erased, so load it again"
                                           : "it was not read; when the cause is mended, read it again");
  }
  if (!fileChecksum.isEmpty() && row.checksum != fileChecksum)
    return Bad("other-image", "it does not hold this file; load it if that is the one it should hold");
  if (row.versionText != kBlack || row.checksumText != kBlack)
    return Bad("marked", "the table marks it; read it again with the step flash-info");
  return {ErrorCategory::kNone, "good", ""};
}

int BoxNumber(const QString& text) {
  static const QRegularExpression number("^Error # +([0-9]+)");
  return number.match(text).captured(1).toInt();
}

ErrorCategory BoxCategory(const QString& text) {
  switch (BoxNumber(text)) {
    case RunError::kInvalidPort:
    case RunError::kPortAlreadyOpen:
    case RunError::kPortNotOpen:
    case RunError::kDeviceFailed:
    case RunError::kInvalidPropertyValue:
      return ErrorCategory::kPort;
    case RunError::kPermissionDenied:
      return text.contains(" right to COM ") ? ErrorCategory::kPort : ErrorCategory::kFile;
    case RunError::kSubscriptOutOfRange:
      return ErrorCategory::kController;
    case 0:
      if (text == "send p4 OK!!!") return ErrorCategory::kNone;
      return text == "File not Found!" ? ErrorCategory::kFile : ErrorCategory::kController;
    default:
      return ErrorCategory::kFile;  // a field's number out of range too: it came from the settings or the
                                    // image
  }
}

}  // namespace quillon
