#pragma once

#include <QString>
#include <QStringList>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "records/job_record.h"
#include "results/verdict.h"

namespace quillon {

/// Completes a recorded download that was cut: first reads the controllers, then loads those that need it.
///
///     Resume resume(ReadRecord(path));
///     while (const auto step = resume.Next())
///       ... run the step; after reading: resume.SetReading(y, evidence) for each of its controllers
///
/// A controller with the new image uses the protocol of that image, one with the old image the former
/// protocol. So controllers that do not answer are read again with the other protocol, and each is loaded
/// with the protocol that it answered. Those that do not answer are loaded last, because they may be erased.
/// Each of them has a step of its own: a run ends at a controller that does not acknowledge the erase.
class Resume {
 public:
  /// `protocol` replaces the one of the record unless it is empty. Raises std::runtime_error for the record
  /// of another run, or when the file can't be read or has changed.
  explicit Resume(JobRecord record, const QString& protocol = "");

  struct Step {
    bool load;         ///< false: read version and checksum
    QString protocol;  ///< the text for the box `Protocol`
    std::vector<int> controllers;
  };
  /// The next step; nothing when the download is complete.
  std::optional<Step> Next();

  /// Reports what the current step, which reads, found about a controller.
  void SetReading(int controller, const Evidence& evidence);

  const JobRecord& Record() const { return record_; }

 private:
  struct Answer {
    QString protocol;  ///< with which the controller answered
    QString checksum;
    bool contradictory;  ///< two readings differ, or an answer came from another controller
  };
  std::vector<int> SilentControllers() const;
  std::deque<Step> LoadSteps() const;
  /// Whether its checksum is not that of the file, it was erased and neither confirmed the full checksum nor
  /// acknowledged every batch, it refused the last command that changes its flash, or its answers contradict.
  bool MustLoad(int controller) const;

  JobRecord record_;
  QStringList protocols_;        ///< the former one, and that of the image if it is another
  qsizetype protocolsRead_ = 0;  ///< number of protocols with which the silent controllers were read
  std::map<int, Answer> answers_;
  std::optional<std::deque<Step>> loadSteps_;  ///< those to come, once all is read
};

}  // namespace quillon
