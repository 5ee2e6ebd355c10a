#pragma once

#include <functional>
#include <memory>

namespace quillon {

/// The signals by which the system asks a program to end, as an event of the windows: SIGTERM, SIGINT and
/// SIGHUP on Linux; none on Windows, where the end of the session is Qt's own event. A signal that was
/// ignored at start stays ignored (nohup).
class EndSignals {
 public:
  /// `onSignal` runs among the events of the windows. There is one such object at a time.
  explicit EndSignals(std::function<void()> onSignal);
  ~EndSignals();

 private:
  struct Pipe;
  std::unique_ptr<Pipe> pipe_;
};

}  // namespace quillon
