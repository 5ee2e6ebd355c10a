#include "desktop/serial_port.h"

#include <unistd.h>

#include <QFile>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "desktop/late_work.h"
#include "desktop/port_names.h"
#include "desktop/serial_line.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr double kBitsPerByte = 11;  // start bit, 8 data bits, 2 stop bits
constexpr double kDrainGrace = 1.0;  // seconds
constexpr auto kDrainStep = std::chrono::milliseconds(1);

RunError NoSuchPort(const std::string& port, int number, const std::string& reason) {
  return RunError(RunError::kInvalidPort, port + ": no such port" + reason +
                                              ". Plug its adapter in, select another "
                                              "port, or link COM" +
                                              std::to_string(number) + " to a device beside the program.");
}

RunError NoRight(const std::string& port, const std::string& device) {
  const std::string group = serial_line::GroupWithRight(device.c_str());
  return RunError(RunError::kPermissionDenied,
                  "Permission denied: you have no right to " + port + " (" + device + "). " +
                      (group.empty() ? "Ask the administrator for it."
                                     : "Join the group " + group + " with \"sudo usermod -a -G " + group +
                                           " $USER\" and log in again."));
}

/// `owner` is what shows that the device is in use.
RunError InUse(const std::string& port, const std::string& owner) {
  return RunError(RunError::kPortAlreadyOpen, "Port already open: another program uses " + port + " (" +
                                                  owner + "). Close that program and start the run again.");
}

RunError OpenFailure(const std::string& port, int number, const std::string& device, int reason) {
  switch (reason) {
    case EACCES:
    case EPERM:
      return NoRight(port, device);
    case EBUSY:
      return InUse(port, device);
    case ENOENT:
      return NoSuchPort(port, number,
                        std::filesystem::is_symlink(device) ? " (" + device + " leads to nothing)"
                                                            : " (there is no " + device + ")");
    default:
      return NoSuchPort(port, number, " (" + device + " is no working serial device)");
  }
}

}  // namespace

void SerialPort::Open(int number, const LineSettings& settings) {
  number_ = number;
  const std::string device = PortDevice(programFolder_, number);
  if (device.empty()) throw NoSuchPort(PortText(), number, "");
  try {
    OpenDevice(device);
    SetSpeed(settings.baud);
  } catch (...) {
    LetGo();
    throw;
  }
}

void SerialPort::OpenDevice(const std::string& device) {
  const int opened = serial_line::OpenAlone(device.c_str());
  if (opened < 0) throw OpenFailure(PortText(), number_, device, -opened);
  descriptor_ = opened;
  // By the device's own name, which its lock file bears too; a link's would be locked beside it.
  std::error_code goneAgain;  // then the opening fails
  const std::string real = std::filesystem::canonical(device, goneAgain).string();
  port_ = std::make_unique<QSerialPort>(QFile::decodeName(real.c_str()));
  port_->setDataBits(QSerialPort::Data8);
  port_->setParity(QSerialPort::NoParity);
  port_->setStopBits(QSerialPort::TwoStop);
  port_->setFlowControl(QSerialPort::NoFlowControl);
  const std::string lock = serial_line::LockFileOf(real);
  // QSerialPort keeps a lock file too, but takes one that it did not write for an old one.
  if (serial_line::HeldByAnother(lock) || !port_->open(QIODevice::ReadWrite)) {
    if (std::filesystem::exists(lock)) throw InUse(PortText(), device + ", by its lock file " + lock);
    throw OpenFailure(PortText(), number_, device, EIO);
  }
  serial_line::DropReceived(descriptor_);
  roomToSend_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Write);
  roomToSend_->setEnabled(false);
  QObject::connect(roomToSend_.get(), &QSocketNotifier::activated, [this] {
    if (!SendPending()) roomToSend_->setEnabled(false);  // the next operation tells that the device is gone
  });
}

void SerialPort::SetSpeed(int baud) {
  if (!port_->setBaudRate(baud) || !serial_line::RunsAt(descriptor_, baud)) {
    if (serial_line::Gone(descriptor_)) RaiseGone();
    throw RunError(RunError::kInvalidPropertyValue,
                   "Invalid property value: " + PortText() + " can't be set to " + std::to_string(baud) +
                       " bits per second with 2 stop bits. Choose another speed or adapter.");
  }
  baud_ = baud;
}

void SerialPort::Close() {
  if (!port_) return;
  Drain();
  LetGo();
}

void SerialPort::LetGo() {
  roomToSend_.reset();
  port_.reset();
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
  pending_.clear();
  received_.clear();
}

void SerialPort::Configure(const LineSettings& settings) {
  RequireDevice();
  Drain();
  RequireDevice();
  SetSpeed(settings.baud);
}

void SerialPort::Write(std::span<const std::uint8_t> bytes) {
  RequireDevice();
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (!SendPending()) RaiseGone();
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

std::string SerialPort::Describe(int number) const {
  const std::string device = PortDevice(programFolder_, number);
  if (device.empty()) return "No device. Link COM" + std::to_string(number) + " to one beside the program.";
  std::error_code unknown;
  if (!std::filesystem::exists(device, unknown)) return device + " (not there)";
  const std::filesystem::path target = std::filesystem::canonical(device, unknown);
  return unknown ? device : target.string();
}

/// A line that stands still must not hold the program: there is an end to waiting.
void SerialPort::Drain() {
  const double bytes = static_cast<double>(pending_.size() + serial_line::Leaving(descriptor_));
  const auto time = std::chrono::duration<double>(bytes * kBitsPerByte / baud_ + kDrainGrace);
  const auto deadline = SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(time);
  while (!serial_line::Gone(descriptor_) && SendPending()) {
    if (pending_.empty() && serial_line::Leaving(descriptor_) == 0) {
      serial_line::AwaitLastBytes(descriptor_);
      return;
    }
    if (SteadyClock::now() >= deadline) return;
    late_work::Do();  // no event is served here, and it can take long
    std::this_thread::sleep_for(kDrainStep);
  }
}

/// Hands on what the device takes now; false when the device failed.
bool SerialPort::SendPending() {
  if (pending_.empty()) return true;
  const std::ptrdiff_t sent = serial_line::Send(descriptor_, pending_);
  if (sent < 0) return false;
  pending_.erase(pending_.begin(), pending_.begin() + sent);
  roomToSend_->setEnabled(!pending_.empty());
  return true;
}

/// What QSerialPort took at an event came first; what the device still holds came after it.
void SerialPort::Receive() {
  const QByteArray taken = port_->readAll();
  received_.insert(received_.end(), taken.begin(), taken.end());
  if (!serial_line::Receive(descriptor_, received_)) RaiseGone();
}

void SerialPort::RequireDevice() {
  if (serial_line::Gone(descriptor_) || !SendPending()) RaiseGone();
}

void SerialPort::RaiseGone() const {
  throw RunError(RunError::kDeviceFailed,
                 "Device failed: " + PortText() +
                     " went away. Check the adapter and its cable, then start the run again.");
}

}  // namespace quillon
