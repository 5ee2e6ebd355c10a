#pragma once

#include <functional>
#include <memory>

namespace quillon {

/// Handles the signals that end a program, SIGTERM, SIGINT and SIGHUP, as events of the windows. Signals that
/// were ignored at start remain ignored (nohup). On Windows there are none: Qt reports the end of a session.
class EndSignals {
 public:
  /// `onSignal` is called when window events are handled. Only one object may exist at a time.
  explicit EndSignals(std::function<void()> onSignal);
  ~EndSignals();

 private:
  struct Pipe;
  std::unique_ptr<Pipe> pipe_;
};

}  // namespace quillon
