#include "forms/run_control.h"

#include <utility>

#include "platform/scope_exit.h"

namespace quillon {

bool RunControl::Run(const std::function<void()>& body) {
  if (std::exchange(underWay_, true)) return false;
  runYieldDepth_ = yieldDepth_;
  const ScopeExit over([this] { underWay_ = false; });
  try {
    body();
  } catch (const Aborted&) {
    // The operator closed the main window. What the run had borrowed was restored on the way here.
  }
  return true;
}

void RunControl::Yield() {
  ServeEvents([this] { events_.Yield(); });
}

void RunControl::YieldUntil(double time) {
  ServeEvents([this, time] { events_.YieldUntil(time); });
}

void RunControl::ServeEvents(const std::function<void()>& onePass) {
  ++yieldDepth_;
  {
    const ScopeExit back([this] { --yieldDepth_; });
    onePass();
  }
  if (ending_ && InRunItself()) throw Aborted{};
}

}  // namespace quillon
