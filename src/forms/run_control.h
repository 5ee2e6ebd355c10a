#pragma once

#include <functional>

#include "platform/computer.h"

namespace quillon {

/// The run that is under way: at most one, which yields to the windows while it waits, and which closing the
/// main window aborts.
///
/// There is one thread. While a run waits it yields, and pending clicks are handled inside the run's own
/// call. A handler that yields in turn is one level deeper. Closing the main window during a yield must abort
/// the run, but not from within the handler that closed it: `Aborted` is thrown once the yields have returned
/// to the level at which the run began.
class RunControl {
 public:
  /// Thrown through a run that is aborted, and caught by Run alone.
  struct Aborted {};

  explicit RunControl(Events& events) : events_(events) {}

  /// Executes a run, unless one is under way: then it does nothing and returns false.
  bool Run(const std::function<void()>& body);

  bool UnderWay() const { return underWay_; }

  /// Whether a run is under way and no handler executes inside one of its yields.
  bool InRunItself() const { return underWay_ && yieldDepth_ == runYieldDepth_; }

  /// Aborts the run under way at its next return from a yield.
  void RequestEnd() { ending_ = true; }
  bool Ending() const { return ending_; }

  /// One pass through the pending events of the windows. Every wait calls this. Throws Aborted.
  void Yield();
  /// The same, after a sleep until an event, a received byte, or `time` of the clock.
  void YieldUntil(double time);

 private:
  void ServeEvents(const std::function<void()>& onePass);

  Events& events_;
  bool underWay_ = false;
  bool ending_ = false;
  int yieldDepth_ = 0;     // handlers run inside yields, and yield in turn
  int runYieldDepth_ = 0;  // the depth at which the current run began
};

}  // namespace quillon
