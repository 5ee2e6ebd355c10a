// Sends and receives through a device of the computer. A device accepts only some bytes at a time, so the
// others wait in `pending_`. Functions that wait until bytes are sent return early if the line has stalled,
// that is, if it has sent nothing for about a second.
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

constexpr double kStallTimeout = 1.0;  // seconds without progress
constexpr double kPollPeriod = 0.001;  // seconds

constexpr std::size_t kOutputBuffer = 512;  // bytes that may be unsent when Write returns

/// The limit of received bytes that are kept, in case of constant noise. Answers are far shorter.
constexpr std::size_t kMaxReceived = 1 << 20;

}  // namespace

void SerialPort::Open(int number, const LineSettings& settings) {
  Release();
  number_ = number;
  line_ = std::make_unique<SystemLine>(programFolder_, number);
  try {
    SetSpeed(settings.baud);
  } catch (...) {
    Release();
    throw;
  }
  // A failure in these callbacks is raised by the next operation.
  const auto receive = [this] {
    // A removed device would call this function again and again.
    if (!ReadDevice() || line_->Gone()) watch_->Stop();
  };
  const auto send = [this] {
    if (!SendPending()) watch_->Stop();
  };
  watch_ = std::make_unique<LineWatch>(line_->Watched(), receive, send);
  awake_.emplace();
}

void SerialPort::SetSpeed(int baud) {
  if (!line_->SetSpeed(baud)) {
    if (line_->Gone()) RaiseFailed();
    throw RunError(RunError::kInvalidPropertyValue,
                   "Invalid property value: " + PortText() + " can't be set to " + std::to_string(baud) +
                       " bits per second with 2 stop bits. Choose another speed or adapter.");
  }
  baud_ = baud;
}

void SerialPort::Close() {
  if (!line_) return;
  Drain();
  Release();
}

void SerialPort::Release() {
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
    watch_->AwaitWritable(false);
    line_->DropUnsent();
  }
  RequireDevice();
  SetSpeed(settings.baud);
}

void SerialPort::Write(std::span<const std::uint8_t> bytes) {
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (!SendPending()) RaiseFailed();
  AwaitSent(kOutputBuffer);
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

/// Waits until all bytes are sent. Returns false when some are not.
bool SerialPort::Drain() {
  if (!AwaitSent(0)) return false;
  line_->AwaitLastBytes();
  return true;
}

/// Waits until at most `limit` bytes are unsent. Returns false when the line has stalled or the device has
/// failed. Each progress extends the deadline.
bool SerialPort::AwaitSent(std::size_t limit) {
  std::size_t unsent = 0;
  SteadyClock::time_point deadline;
  while (!line_->Gone() && SendPending()) {
    const std::size_t before = std::exchange(unsent, pending_.size() + line_->Unsent());
    if (unsent <= limit) return true;
    const SteadyClock::time_point now = SteadyClock::now();
    if (unsent != before) deadline = now + LongestStall(unsent);
    if (now >= deadline) break;
    deferred_paint::Do();  // shows the status although no events are handled
    system_clock::SleepFor(kPollPeriod);
  }
  return false;
}

/// The longest time without progress on a working line that has `bytes` to send.
SerialPort::SteadyClock::duration SerialPort::LongestStall(std::size_t bytes) const {
  const auto step = static_cast<double>(std::min(bytes, SystemLine::kMostPerStep));
  const std::chrono::duration<double> time(step * kBitsPerByte / baud_ + kStallTimeout);
  return std::chrono::duration_cast<SteadyClock::duration>(time);
}

/// Sends the queued bytes that the device accepts now. Returns false when the device has failed.
bool SerialPort::SendPending() {
  if (pending_.empty()) return true;
  const std::ptrdiff_t sent = line_->Send(pending_);
  if (sent < 0) return false;
  pending_.erase(pending_.begin(), pending_.begin() + sent);
  watch_->AwaitWritable(!pending_.empty());
  return true;
}

void SerialPort::Receive() {
  if (!ReadDevice()) RaiseFailed();
}

/// Reads the received bytes. Returns false when the device has failed.
bool SerialPort::ReadDevice() {
  const bool works = line_->Receive(received_);
  if (received_.size() > kMaxReceived) received_.resize(kMaxReceived);
  return works;
}

void SerialPort::RequireDevice() {
  if (line_->Gone() || !SendPending()) RaiseFailed();
}

void SerialPort::RaiseFailed() const {
  throw RunError(RunError::kDeviceFailed,
                 "Device failed: " + PortText() +
                     " was disconnected. Check the adapter and its cable, then start the run again.");
}

}  // namespace quillon
