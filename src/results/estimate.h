#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "forms/run_events.h"

namespace quillon {

/// What the duration of a run depends on.
struct RunFacts {
  RunKind kind = RunKind::kParallel;
  std::vector<int> controllers;
  std::vector<std::size_t> batchFrames;  ///< bytes of each batch's frame, in file order
  int speed = 0;                         ///< of the line at first, in bits per second
  int downloadSpeed = 0;                 ///< while programming; 0: the line's
  int imageSpeed = 0;                    ///< which the controllers take from the image; 0: each keeps its own
  double delay = 0;                      ///< after a batch of a parallel download, in seconds
  double timeOut = 0;                    ///< of an exchange, in seconds
};

/// The facts of a run that starts so; `downloadSpeed` is that of the program's settings. Those of the image
/// are left out.
RunFacts FactsOf(const RunStarted& run, const std::string& downloadSpeed);

/// Adds the facts of the image in a firmware file. Raises RunError.
void ReadImage(const std::string& path, RunFacts& facts);

/// Estimates how long a run takes, and follows it by its events. A run consists of these steps:
///
///     parallel                 erase each; every batch once; confirm each; check each
///     serial                   each: erase, every batch, confirm, check
///     flash-info, boot-info    check each
///
///     erase, confirm, check    an exchange: the frame's time on the line, the answer's first byte, 0.5 s
///     a batch, serial          an exchange
///     a batch, parallel        the delay, or the batch's time on the line when that is longer
///     a speed without answer   three sends of time-out and 0.5 s each, and 2 s for the failure
///
/// Confirm sends the full checksum; check reads version and checksum. What is not known in advance is left
/// out: the time in which a controller erases and writes, and repetitions.
class Estimate {
 public:
  explicit Estimate(RunFacts facts);

  /// An event of the run at this time, in seconds.
  void Follow(const RunEvent& event, double now);

  double SecondsLeft(double now) const;
  int Batches() const;
  int BatchesDone() const;
  int Controllers() const { return static_cast<int>(facts_.controllers.size()); }
  int ControllersDone() const;

 private:
  struct Step {
    enum class Kind { kErase, kBatch, kConfirm, kCheck } kind;
    int controller;          // or kEveryController
    std::size_t number = 0;  // of a batch, from 1
    bool operator==(const Step&) const = default;
  };
  using Kind = Step::Kind;

  void PlanController(int controller, const std::vector<Kind>& kinds);
  void PlanBatches(int controller);
  double Seconds(const Step& step, int& speed) const;
  double SearchSeconds(int& speed, int wanted) const;
  double BatchSeconds(const Step& step, int speed) const;
  void Begin(const ControllerBegun& event, double now);
  void UseLineSpeed();
  void MoveTo(const Step& step, double now);

  RunFacts facts_;
  int lineSpeed_;                             // the last one that was set, also while programming
  std::optional<ControllerBegun> searching_;  // the phase of the speed search that is under way
  std::vector<Step> plan_;
  std::size_t current_ = 0;     // index in the plan
  double since_ = 0;            // when the current step began
  std::map<int, int> foundAt_;  // the speed at which a controller was erased
  int measured_ = 0;            // batches of a serial download
  double measuredSeconds_ = 0;
};

}  // namespace quillon
