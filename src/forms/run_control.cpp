// Executes one run at a time. There is one thread: a waiting run calls Yield, which handles window events.
// Their handlers may wait in turn:
//
//     Run  ->  workflow  ->  Yield  ->  click handler  ->  Yield  ->  another handler
//
// So closing the main window can be received several calls below the run that it must abort. Yield throws
// `Aborted` only at the depth at which the run began, after these handlers have returned.
#include "forms/run_control.h"

#include <utility>

#include "platform/scope_exit.h"

namespace quillon {

bool RunControl::Run(const std::function<void()>& body) {
  if (std::exchange(underWay_, true)) return false;
  runYieldDepth_ = yieldDepth_;
  const ScopeExit finished([this] { underWay_ = false; });
  try {
    body();
  } catch (const Aborted&) {
    // The main window was closed. Scope exits have restored what the run had changed.
  }
  return true;
}

void RunControl::Yield() {
  HandleEvents([this] { events_.Yield(); });
}

void RunControl::YieldUntil(double time) {
  HandleEvents([this, time] { events_.YieldUntil(time); });
}

void RunControl::HandleEvents(const std::function<void()>& handle) {
  ++yieldDepth_;
  {
    const ScopeExit restoreDepth([this] { --yieldDepth_; });
    handle();
  }
  if (ending_ && InRunItself()) throw Aborted{};
}

}  // namespace quillon
