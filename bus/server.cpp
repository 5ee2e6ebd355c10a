// Serves the simulated line in real time: connects the line in memory (bus.h), which has no clock of its own,
// with a pseudo-terminal and the clock of the computer.
#include "bus/server.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace bus {
namespace {

/// Returns a descriptor that becomes readable when a signal is to end the program.
Descriptor CatchSignals() {
  std::signal(SIGPIPE, SIG_IGN);  // the bus continues when the reader of its output ends
  sigset_t ending;
  sigemptyset(&ending);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ending, signal);
  sigprocmask(SIG_BLOCK, &ending, nullptr);
  const int descriptor = signalfd(-1, &ending, SFD_NONBLOCK | SFD_CLOEXEC);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "reading signals");
  return Descriptor(descriptor);
}

std::string HexText(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), " %02X", byte);
    text += digits.data();
  }
  return text;
}

/// Whether the standard output accepts a line at once, if it is a pipe. A program that stops reading it must
/// not stop the bus.
bool OutputIsReady() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, 0) > 0;
}

}  // namespace

Server::Server(const Options& options)
    : options_(options),
      bus_(options.line),
      signals_(CatchSignals()),
      start_(std::chrono::steady_clock::now()) {
  for (const ControllerSetup& setup : options_.controllers) bus_.Add(setup);
  // Before the log is opened: if another bus runs, this one stops here and leaves that log alone.
  if (!options_.link.empty()) claim_.emplace(options_.link);
  PlugIn();
  if (options_.logFile.empty()) return;
  log_.open(options_.logFile);
  if (!log_)
    throw std::runtime_error("--log " + options_.logFile + ": can't be written. Choose another file.");
}

void Server::Run() {
  const std::string port =
      options_.link.empty() ? terminal_->Path() : options_.link + " -> " + terminal_->Path();
  std::cout << "bus: " << port << " (" << options_.controllers.size() << " controllers, seed "
            << options_.line.seed << ")" << std::endl;
  while (!ended_) {
    WaitForEvent(Now());
    const Time now = Now();
    if (plugInTime_ && now >= *plugInTime_) {
      bus_.TakeBytesForTool({}, now);  // answers that came while the cable was unplugged are lost
      PlugIn();
    }
    if (!terminal_) continue;
    terminal_->UpdateOpenState();
    // First what is due by `now`, then what the tool has written. In the other order an answer that was due
    // before the next question would collide with it.
    WriteToTool(now);
    ReadFromTool();
  }
}

void Server::PlugIn() {
  terminal_ = std::make_unique<PseudoTerminal>();
  if (!options_.link.empty()) link_ = std::make_unique<PortLink>(options_.link, terminal_->Path());
  if (plugInTime_) LogLine("the cable is back: " + terminal_->Path());
  plugInTime_.reset();
}

void Server::PullCable(Time now) {
  LogLine("the cable is pulled");
  plugInTime_ = now + options_.unplug->duration;
  options_.unplug.reset();
  link_.reset();
  terminal_.reset();
}

/// Sleeps until the tool writes, opens or closes the port, a byte for it is due, the cable is to be plugged
/// in, or a signal comes.
void Server::WaitForEvent(Time now) {
  std::optional<Time> due = plugInTime_ ? plugInTime_ : bus_.NextArrival();
  timespec timeout{};
  if (due) {
    const std::int64_t wait = std::max<std::int64_t>((*due - now).count(), 0);
    timeout = {wait / kNanosecondsPerSecond, wait % kNanosecondsPerSecond};
  }
  constexpr int kIgnored = -1;  // ppoll skips this descriptor
  const int input = terminal_ ? terminal_->ReadDescriptor() : kIgnored;
  const int openState = terminal_ ? terminal_->OpenStateDescriptor() : kIgnored;
  std::array<pollfd, 3> watched = {pollfd{signals_.Number(), POLLIN, 0}, pollfd{input, POLLIN, 0},
                                   pollfd{openState, POLLIN, 0}};
  if (ppoll(watched.data(), watched.size(), due ? &timeout : nullptr, nullptr) < 0 && errno != EINTR)
    throw std::system_error(errno, std::generic_category(), "waiting for the tool");
  if ((watched[0].revents & POLLIN) != 0) ended_ = true;
}

void Server::ReadFromTool() {
  const Bytes bytes = terminal_->Read();
  // Taken after the read: an earlier time would let the answer arrive before the question has ended.
  const Time now = Now();
  const LineFormat format = terminal_->Format();
  if (bytes.empty() || format.baud < 1) return;
  bus_.AddBytesFromTool(bytes, format, now);
  framesReceived_ += static_cast<int>(bus_.Traffic().size());
  LogTraffic();
  if (options_.unplug && framesReceived_ >= options_.unplug->afterFrames) PullCable(now);
}

void Server::WriteToTool(Time now) {
  const std::optional<Time> next = bus_.NextArrival();
  if (next && *next <= now) terminal_->Write(bus_.TakeBytesForTool(terminal_->Format(), now));
}

void Server::LogTraffic() {
  // A question mark after the sender marks bytes that are not an intact frame.
  for (const ReceivedFrame& frame : bus_.Traffic())
    Log(frame.begins, frame.format, (frame.intact ? "tool   " : "tool ? ") + HexText(frame.bytes));
  for (const Bus::SentAnswer& answer : bus_.Answers()) {
    std::array<char, 8> sender{};
    std::snprintf(sender.data(), sender.size(), "%5d  ", answer.number);
    Log(answer.begins, answer.format, sender.data() + HexText(answer.bytes));
  }
  bus_.ForgetTraffic();
}

/// A line such as "  12.345678   9600 8N2  tool    40 05 01 73 F8 A9 04", time in seconds since the start.
void Server::Log(Time at, const LineFormat& format, const std::string& text) {
  std::array<char, 64> head{};
  std::snprintf(head.data(), head.size(), "%11.6f %6d %d%c%d  ", std::chrono::duration<double>(at).count(),
                format.baud, format.dataBits, format.parity, format.stopBits);
  LogLine(head.data() + text);
}

void Server::LogLine(const std::string& line) {
  if (log_.is_open()) log_ << line << std::endl;
  if (options_.verbose && OutputIsReady()) std::cout << line << std::endl;
}

Time Server::Now() const { return std::chrono::steady_clock::now() - start_; }

}  // namespace bus
