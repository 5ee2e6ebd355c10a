// Serves the simulated line in real time.
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

/// A bus in real time on a pseudo-terminal: the program quillon-bus without its command line.
///
/// One loop, one thread. It sleeps until the tool has written, a byte for the tool is due, the port was
/// opened or closed, the cable is to be plugged in again, or a signal ends the program. Then it reads the
/// clock once, first passes on what is due by then and afterwards reads what the tool wrote. In the other
/// order an answer that was due before the next question would collide with it.
class Server {
 public:
  /// Creates the link and empties the log. From here on SIGINT, SIGTERM and SIGHUP take effect only in `Run`.
  /// Throws std::runtime_error or a class derived from it, with a text for the user.
  explicit Server(const Options& options);

  /// Prints where the bus is, and serves it until one of the three signals comes.
  void Run();

 private:
  void PlugIn();
  void PullCable(Time now);
  void WaitForEvent(Time now);
  void ReadFromTool();
  void WriteToTool(Time now);
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
  int framesReceived_ = 0;
  std::optional<Time> plugInTime_;
  bool ended_ = false;
};

}  // namespace bus
