#pragma once

#include <functional>

#include "platform/computer.h"

namespace quillon {

/// Executes runs, one at a time. A waiting run handles window events; closing the main window aborts it.
///
/// There is one thread. A waiting run calls Yield, which handles the pending events inside this call:
///
///     Run -> workflow -> Yield -> click handler -> Yield -> another handler
///
/// Closing the main window must unwind the run, but not the handler that received the event. So Yield throws
/// `Aborted` only in the run itself, at the depth where it began, after the nested handlers have returned.
class RunControl {
 public:
  /// Thrown by Yield to abort a run. Only Run catches it.
  struct Aborted {};

  explicit RunControl(Events& events) : events_(events) {}

  /// Executes a run. Returns false, without executing it, when another run is under way.
  bool Run(const std::function<void()>& body);

  bool UnderWay() const { return underWay_; }

  /// Whether a run is under way and no handler executes inside one of its yields.
  bool InRunItself() const { return underWay_ && yieldDepth_ == runYieldDepth_; }

  /// Aborts the run at its next return from Yield.
  void RequestEnd() { ending_ = true; }
  bool EndRequested() const { return ending_; }

  /// Handles the pending events of the windows. Every wait of a run calls this. Throws Aborted.
  void Yield();
  /// Sleeps until an event, a received byte or `time` of the clock, then acts like Yield.
  void YieldUntil(double time);

 private:
  void HandleEvents(const std::function<void()>& handle);

  Events& events_;
  bool underWay_ = false;
  bool ending_ = false;
  int yieldDepth_ = 0;     // number of nested calls of Yield
  int runYieldDepth_ = 0;  // its value when the run began
};

}  // namespace quillon
