#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/computer.h"

namespace quillon {

/// The bits that a byte needs on the line: a start bit, 8 data bits, 2 stop bits.
inline constexpr double kBitsPerByte = 11;

/// The seconds that bytes need on the line.
inline double LineSeconds(std::size_t bytes, int bitsPerSecond) {
  return static_cast<double>(bytes) * kBitsPerByte / std::max(bitsPerSecond, 1);
}

/// The serial port, selected by its number. Its speed can change while it is open. There is no handshaking,
/// and bytes are never translated. The class checks the properties; SerialDevice does the work.
class SerialControl {
 public:
  explicit SerialControl(SerialDevice& device) : device_(device) {}

  /// Selects the port to open, 1 to 99. Raises RunError 8002 for another number.
  void SetCommPort(int number);

  /// Describes the device of port `number`.
  PortDescription Describe(int number) const { return device_.Describe(number); }

  /// Opens or closes the port. Opening an open port raises RunError 8005; closing a closed one does nothing.
  /// Opening raises what SerialDevice::Open raises. After a refused speed it next uses 9600 bits per second.
  void SetPortOpen(bool open);

  /// `text` is a speed followed by ",N,8,2": no parity, 8 data bits, 2 stop bits. Applies at once, or when a
  /// closed port is opened. Any other text raises RunError 380 and changes nothing.
  void SetSettings(const std::string& text);
  static constexpr const char* kSettingsAtStart = "9600,N,8,2";
  const std::string& Settings() const { return settings_; }

  /// Checks the mode only: Input returns unchanged bytes in both. Any other mode raises RunError 380.
  static constexpr int kText = 0;
  static constexpr int kRawBytes = 1;
  void SetInputMode(int mode);

  /// Checks the number of bytes to read: only 0, all received bytes, is supported. Others raise RunError 380.
  void SetInputLen(int count);

  // These raise RunError 8018 on a closed port and 8020 when the device fails.

  /// Sends bytes like SerialDevice::Write.
  void Output(std::span<const std::uint8_t> bytes);
  /// The number of received bytes that were not yet read.
  std::size_t InBufferCount();
  /// Returns and removes the received bytes.
  Bytes Input();

 private:
  void OpenDevice();
  void RequireOpen() const;

  SerialDevice& device_;
  int port_ = 1;
  bool open_ = false;
  std::string settings_ = kSettingsAtStart;
  LineSettings line_;
  bool speedRefused_ = false;  // when the port was last opened
};

}  // namespace quillon
