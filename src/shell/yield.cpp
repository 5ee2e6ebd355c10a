// How a run gives way to the windows, and how it is left when the operator closes the main window.
//
// There is one thread. While a run waits it yields: the clicks that wait run then, inside the run's own call.
// A handler that yields in turn lies one level deeper. Closing the main window in a yield must end the run,
// but not from within the handler that closed it: the run is unwound as soon as the yields are back at the
// level where it began.
#include "platform/finally.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::Yield() {
  ServeEvents([this] { events_.Yield(); });
}

void Quillon::YieldUntil(double time) {
  ServeEvents([this, time] { events_.YieldUntil(time); });
}

void Quillon::ServeEvents(const std::function<void()>& onePass) {
  ++yieldDepth_;
  {
    const Finally back([this] { --yieldDepth_; });
    onePass();
  }
  // A handler that runs inside a yield of the run must return through the windows first.
  if (ending_ && runUnderWay_ && yieldDepth_ == runYieldDepth_) throw RunUnwound{};
}

}  // namespace quillon
