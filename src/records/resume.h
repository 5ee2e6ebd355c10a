#pragma once

#include <QMap>
#include <QString>
#include <optional>
#include <vector>

#include "records/job_record.h"

namespace quillon {

/// The rest of a recorded download, step by step: surveys first, then loads what has to be loaded.
///
///     Resume resume(ReadRecord(path));
///     while (const auto step = resume.Next())
///       ... run the step; after a survey: resume.SetChecksum(y, text) for each controller that answered
///
/// A controller with the image answers by the protocol that the image names, one without it by the former
/// one. So those that are silent are surveyed by the second protocol, and each is loaded by the one that it
/// answered. One that is silent by both is loaded last: it may be erased and answer nothing but an erase.
class Resume {
 public:
  /// Raises std::runtime_error when the record is not that of a download, or when its file can't be read or
  /// has changed since.
  explicit Resume(JobRecord record);

  struct Step {
    bool load;         ///< else: a survey of the flash
    QString protocol;  ///< for the box of that name
    std::vector<int> controllers;
  };
  std::optional<Step> Next();

  /// What the survey read of a controller that answered.
  void SetChecksum(int controller, const QString& checksum);

  const JobRecord& Record() const { return record_; }

 private:
  struct Answer {
    QString checksum;
    bool byImageProtocol;
  };
  /// It does not hold the file, was erased and neither confirmed the full checksum nor acknowledged every
  /// batch, refused the last command that changes its flash, or gave contradictory answers.
  bool MustLoad(int controller) const;

  JobRecord record_;
  QString protocol_;
  QString imageProtocol_;
  QMap<int, Answer> answers_;
  int stage_ = 0;
};

}  // namespace quillon
