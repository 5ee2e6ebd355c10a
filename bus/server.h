#pragma once

#include <chrono>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "bus/bus.h"
#include "bus/options.h"
#include "bus/pseudo_terminal.h"

namespace bus {

/// A bus in real time on a pseudo-terminal: all of the program quillon-bus but its command line.
///
/// One loop, one thread. It sleeps in the system until the tool has written, a byte is due to the tool, the
/// port was opened or closed, the pulled cable goes back in, or a signal ends the program. Then it takes the
/// time once, first passes on what is due by then and afterwards reads what the tool wrote: an answer that
/// was due before the next question must not meet it on the line.
class Server {
 public:
  /// Lays the link and empties the log. From here on the process takes SIGINT, SIGTERM and SIGHUP only in
  /// `Run`. Throws std::runtime_error, or one of its kind, with a text for the operator.
  explicit Server(const Options& options);

  /// Says on the standard output where the bus is, and serves it until one of the three signals comes.
  void Run();

 private:
  void PlugIn();
  void PullCable(Time now);
  void WaitForSomething(Time now);
  void TakeFromTool();
  void HandToTool(Time now);
  void LogTraffic();
  void Log(Time at, const LineFormat& format, const std::string& text);
  void LogLine(const std::string& line);
  Time Now() const;

  Options options_;
  Bus bus_;
  std::ofstream log_;
  std::optional<LinkClaim> claim_;            // kept while the cable is off
  std::unique_ptr<PseudoTerminal> terminal_;  // none while the cable is off
  std::unique_ptr<PortLink> link_;
  Descriptor signals_;
  std::chrono::steady_clock::time_point start_;
  int framesHeard_ = 0;
  std::optional<Time> plugInAt_;
  bool ended_ = false;
};

}  // namespace bus
