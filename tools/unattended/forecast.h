#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "unattended/task.h"

namespace quillon {

/// How long a run takes, by its own rules:
///
///     parallel                 erase each; every batch once; confirm each; check each
///     serial                   each: erase, every batch, confirm, check
///     flash-info, boot-info    check each
///
///     erase, confirm, check    an exchange: the frame's time on the line, the answer's first byte, 0.5 s
///     a batch, serial          an exchange
///     a batch, parallel        the delay, or the batch's time on the line when that is longer
///     a speed tried in vain    three sends of time-out and 0.5 s each, and 2 s for the failure
///
/// Confirm has a controller confirm the checksum of the image; check reads back what it holds. What nobody
/// knows ahead is left out: a controller's own time to erase and to write, and what goes wrong.
struct RunFacts {
  Job job = Job::kParallel;
  std::vector<int> controllers;
  std::vector<std::size_t> batchFrames;  ///< bytes of each batch's frame, in file order
  int speed = 0;                         ///< of the line at first, in bits per second
  int downloadSpeed = 0;                 ///< while programming; 0: the line's
  int imageSpeed = 0;                    ///< which the controllers take from the image; 0: each keeps its own
  double delay = 0;                      ///< after a batch of a parallel download, in seconds
  double timeOut = 0;                    ///< of an exchange, in seconds
};

/// The bytes of each batch's frame of a firmware file, and the speed that the image fixes. Raises RunError.
void ReadImage(const std::string& path, RunFacts& facts);

/// Follows a run by its status lines, and tells how much of it is left.
class Forecast {
 public:
  explicit Forecast(RunFacts facts);

  /// The status line reads so, at this time in seconds.
  void See(const QString& status, double now);

  double SecondsLeft(double now) const;
  int Batches() const;
  int BatchesDone() const;
  int Controllers() const { return static_cast<int>(facts_.controllers.size()); }
  int ControllersDone() const;

 private:
  enum class Stage { kErase, kBatch, kConfirm, kCheck };
  struct Step {
    Stage stage;
    int controller;          // kAll: all at once
    std::size_t number = 0;  // of a batch, from 1
  };
  static constexpr int kAll = -1;

  void PlanController(int controller, const std::vector<Stage>& stages);
  void PlanBatches(int controller);
  double Seconds(const Step& step, int& speed) const;
  double SearchSeconds(int& speed, int wanted) const;
  double BatchSeconds(const Step& step, int speed) const;
  void MoveTo(std::size_t step, double now);

  RunFacts facts_;
  std::vector<Step> plan_;
  std::size_t current_ = 0;     // step of the plan
  double since_ = 0;            // when the current step began
  std::map<int, int> foundAt_;  // the speed at which a controller was erased
  int measured_ = 0;            // batches of a serial download
  double measuredSeconds_ = 0;
};

}  // namespace quillon
