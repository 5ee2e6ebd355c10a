#pragma once

#include <QMap>
#include <QString>
#include <optional>
#include <vector>

#include "records/job_record.h"

namespace quillon {

/// Completes a recorded download that was cut: first reads the controllers, then loads those that need it.
///
///     Resume resume(ReadRecord(path));
///     while (const auto step = resume.Next())
///       ... run the step; after reading: resume.SetChecksum(y, text) for each controller that answered
///
/// A controller with the new image uses the protocol of that image, one with the old image the former
/// protocol. So controllers that do not answer are read again with the other protocol, and each is loaded
/// with the protocol that it answered. Those that do not answer are loaded last: they may be erased.
class Resume {
 public:
  /// Raises std::runtime_error for the record of another run, or when the file can't be read or has changed.
  explicit Resume(JobRecord record);

  struct Step {
    bool load;         ///< false: read version and checksum
    QString protocol;  ///< the text for the box `Protocol`
    std::vector<int> controllers;
  };
  /// The next step; nothing when the download is complete.
  std::optional<Step> Next();

  /// Reports the checksum of a controller that answered in the current step.
  void SetChecksum(int controller, const QString& checksum);

  const JobRecord& Record() const { return record_; }

 private:
  struct Answer {
    QString checksum;
    bool byImageProtocol;
  };
  /// Whether its checksum is not that of the file, it was erased and neither confirmed the full checksum nor
  /// acknowledged every batch, it refused the last command that changes its flash, or its answers contradict.
  bool MustLoad(int controller) const;

  JobRecord record_;
  QString protocol_;
  QString imageProtocol_;
  QMap<int, Answer> answers_;
  int stage_ = 0;
};

}  // namespace quillon
