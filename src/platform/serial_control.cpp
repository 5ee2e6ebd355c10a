// Implements the serial port of the main window, the control `MSComm1`. It checks every value that a run
// sets, and raises RunErrors that contain advice. SerialDevice, of which each operating system has its own,
// sends and receives the bytes.
#include "platform/serial_control.h"

#include <utility>

#include "platform/conversions.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr int kLowestPort = 1;
constexpr int kHighestPort = 99;
constexpr int kHighestBaud = 4'000'000;         // bits per second; usual adapters are not faster
constexpr std::string_view kSuffix = ",N,8,2";  // no parity, 8 data bits, 2 stop bits

LineSettings ParseSettings(const std::string& text) {
  if (text.ends_with(kSuffix)) {
    try {
      const std::string_view speed(text.data(), text.size() - kSuffix.size());
      return {static_cast<int>(ToWholeNumber(speed, 1, kHighestBaud, "the speed"))};
    } catch (const RunError&) {
      // The error below contains the whole text.
    }
  }
  throw RunError(RunError::kInvalidPropertyValue,
                 "Invalid property value: the line can't be set to \"" + text +
                     "\". Select a speed, or write a speed such as 9600 into the first line of Boot.ini.");
}

}  // namespace

void SerialControl::SetCommPort(int number) {
  if (number < kLowestPort || number > kHighestPort) {
    throw RunError(RunError::kInvalidPort,
                   "Invalid port number: " + std::to_string(number) + ". Select one from COM 1 to COM 99.");
  }
  port_ = number;
}

void SerialControl::SetPortOpen(bool open) {
  if (open && open_) {
    throw RunError(RunError::kPortAlreadyOpen, "Port already open: COM " + std::to_string(port_) +
                                                   " is open. Close it before it is opened again.");
  }
  if (open) {
    OpenDevice();
    open_ = true;
  } else if (open_) {
    open_ = false;
    device_.Close();
  }
}

/// Problem: if the device refuses the current speed, every later attempt to open the port would fail as well.
/// Remedy: the attempt after a refusal uses the default speed. The run then sets its own speed on the open
/// port.
void SerialControl::OpenDevice() {
  if (std::exchange(speedRefused_, false)) SetSettings(kSettingsAtStart);
  try {
    device_.Open(port_, line_);
  } catch (const RunError& error) {
    speedRefused_ = error.number == RunError::kInvalidPropertyValue;
    throw;
  }
}

void SerialControl::SetSettings(const std::string& text) {
  const LineSettings line = ParseSettings(text);
  if (open_) device_.Configure(line);
  line_ = line;
  settings_ = text;
}

// Only these values are valid. Nothing is stored, because every read returns all bytes as they were received.
void SerialControl::SetInputMode(int mode) {
  if (mode != kText && mode != kRawBytes) {
    throw RunError(RunError::kInvalidPropertyValue, "Invalid property value: an input mode is 0 or 1.");
  }
}

void SerialControl::SetInputLen(int count) {
  if (count != 0) {
    throw RunError(RunError::kInvalidPropertyValue,
                   "Invalid property value: the input length must be 0: a read returns all received bytes.");
  }
}

void SerialControl::Output(std::span<const std::uint8_t> bytes) {
  RequireOpen();
  device_.Write(bytes);
}

std::size_t SerialControl::InBufferCount() {
  RequireOpen();
  return device_.Waiting();
}

Bytes SerialControl::Input() {
  RequireOpen();
  return device_.Read();
}

void SerialControl::RequireOpen() const {
  if (open_) return;
  throw RunError(RunError::kPortNotOpen, "Port not open: COM " + std::to_string(port_) +
                                             " is closed. Check the port and start the run again.");
}

}  // namespace quillon
