#include "desktop/serial_port.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "desktop/deferred_paint.h"
#include "platform/run_error.h"
#include "platform/serial_control.h"
#include "platform/system_clock.h"

namespace quillon {
namespace {

constexpr double kDrainGrace = 1.0;   // seconds of a line that stands still
constexpr double kDrainStep = 0.001;  // seconds

constexpr std::size_t kOutputBuffer = 512;  // bytes that can still be leaving when Write returns

/// Bytes that may wait. No answer is near it, and a line that babbles must not fill the memory.
constexpr std::size_t kMostWaiting = 1 << 20;

}  // namespace

void SerialPort::Open(int number, const LineSettings& settings) {
  LetGo();
  number_ = number;
  line_ = std::make_unique<SystemLine>(programFolder_, number);
  try {
    SetSpeed(settings.baud);
  } catch (...) {
    LetGo();
    throw;
  }
  // The next operation raises a failure that happens here.
  const auto receive = [this] {
    // A device that went away would wake the watch again and again.
    if (!TakeReceived() || line_->Gone()) watch_->Stop();
  };
  const auto send = [this] {
    if (!SendPending()) watch_->Stop();
  };
  watch_ = std::make_unique<LineWatch>(line_->Watched(), receive, send);
  awake_.emplace();
}

void SerialPort::SetSpeed(int baud) {
  if (!line_->SetSpeed(baud)) {
    if (line_->Gone()) RaiseGone();
    throw RunError(RunError::kInvalidPropertyValue,
                   "Invalid property value: " + PortText() + " can't be set to " + std::to_string(baud) +
                       " bits per second with 2 stop bits. Choose another speed or adapter.");
  }
  baud_ = baud;
}

void SerialPort::Close() {
  if (!line_) return;
  Drain();
  LetGo();
}

void SerialPort::LetGo() {
  awake_.reset();
  watch_.reset();
  line_.reset();
  pending_.clear();
  received_.clear();
}

void SerialPort::Configure(const LineSettings& settings) {
  RequireDevice();
  if (!Drain()) {
    pending_.clear();
    watch_->AwaitRoom(false);
    line_->DropLeaving();
  }
  RequireDevice();
  SetSpeed(settings.baud);
}

void SerialPort::Write(std::span<const std::uint8_t> bytes) {
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (!SendPending()) RaiseGone();
  AwaitLeaving(kOutputBuffer);
}

std::size_t SerialPort::Waiting() {
  RequireDevice();
  Receive();
  return received_.size();
}

std::vector<std::uint8_t> SerialPort::Read() {
  RequireDevice();
  Receive();
  return std::exchange(received_, {});
}

/// Waits until all bytes have left; false when some did not.
bool SerialPort::Drain() {
  if (!AwaitLeaving(0)) return false;
  line_->AwaitLastBytes();
  return true;
}

/// Waits until at most so many bytes are still to leave; false when the line took nothing for longer than
/// LongestStandstill, however much waits for it: a line that works lets bytes out again and again.
bool SerialPort::AwaitLeaving(std::size_t most) {
  std::size_t left = 0;
  SteadyClock::time_point deadline;
  while (!line_->Gone() && SendPending()) {
    const std::size_t before = std::exchange(left, pending_.size() + line_->Leaving());
    if (left <= most) return true;
    const SteadyClock::time_point now = SteadyClock::now();
    if (left != before) deadline = now + LongestStandstill(left);
    if (now >= deadline) break;
    deferred_paint::Do();  // no event is served here, and it can take long
    system_clock::SleepFor(kDrainStep);
  }
  return false;
}

/// How long a line that works can show no progress while so many bytes leave.
SerialPort::SteadyClock::duration SerialPort::LongestStandstill(std::size_t bytes) const {
  const auto step = static_cast<double>(std::min(bytes, SystemLine::kMostPerStep));
  const std::chrono::duration<double> time(step * kBitsPerByte / baud_ + kDrainGrace);
  return std::chrono::duration_cast<SteadyClock::duration>(time);
}

/// Hands on what the device takes now; false when the device failed.
bool SerialPort::SendPending() {
  if (pending_.empty()) return true;
  const std::ptrdiff_t sent = line_->Send(pending_);
  if (sent < 0) return false;
  pending_.erase(pending_.begin(), pending_.begin() + sent);
  watch_->AwaitRoom(!pending_.empty());
  return true;
}

void SerialPort::Receive() {
  if (!TakeReceived()) RaiseGone();
}

/// Takes what the device holds now; false when the device failed.
bool SerialPort::TakeReceived() {
  const bool works = line_->Receive(received_);
  if (received_.size() > kMostWaiting) received_.resize(kMostWaiting);
  return works;
}

void SerialPort::RequireDevice() {
  if (line_->Gone() || !SendPending()) RaiseGone();
}

void SerialPort::RaiseGone() const {
  throw RunError(RunError::kDeviceFailed,
                 "Device failed: " + PortText() +
                     " went away. Check the adapter and its cable, then start the run again.");
}

}  // namespace quillon
