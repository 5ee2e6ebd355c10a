#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/computer.h"

namespace quillon {

/// The bits of a byte on the line: start bit, 8 data bits, 2 stop bits.
inline constexpr double kBitsPerByte = 11;

/// The serial port as the program sees it: selected by number, opened and closed, its speed changed while
/// open. No handshaking; bytes are never translated. InBufferSize, 1024 at start, is not a limit: no received
/// byte is lost. OutBufferSize, 512, is one: see Output.
class SerialControl {
 public:
  explicit SerialControl(SerialDevice& device) : device_(device) {}

  /// Selects the port that the next opening takes: 1 to 99, else RunError 8002.
  void SetCommPort(int number);

  /// Which device port `number` is.
  PortDescription Describe(int number) const { return device_.Describe(number); }

  /// Opens or closes the port. Opening an open port raises RunError 8005; closing a closed one does nothing.
  /// Opening raises what SerialDevice::Open does. After an opening that was refused for its speed the next
  /// one takes 9600 bits per second.
  void SetPortOpen(bool open);

  /// "9600,N,8,2": speed, no parity, 8 data bits, 2 stop bits, the only form there is. Acts at once on an
  /// open port, else at the next opening. Any other text raises RunError 380 and changes nothing.
  void SetSettings(const std::string& text);
  const std::string& Settings() const { return settings_; }

  /// What a read returns: raw bytes, or text, which is the setting at start. Bytes come untouched in both.
  /// Any other mode raises RunError 380.
  static constexpr int kText = 0;
  static constexpr int kRawBytes = 1;
  void SetInputMode(int mode);

  /// How many bytes a read takes: 0, all that wait, is the only choice; any other raises RunError 380.
  void SetInputLen(int count);

  /// The operations on the line raise RunError 8018 on a closed port and 8020 when the device fails.
  /// Queues all bytes for sending at once. Returns when at most 512 bytes are still to leave, see
  /// SerialDevice::Write.
  void Output(std::span<const std::uint8_t> bytes);
  /// Number of received bytes that wait.
  std::size_t InBufferCount();
  /// Returns and removes the received bytes; an empty array when none wait.
  Bytes Input();

 private:
  void OpenDevice();
  void RequireOpen() const;

  SerialDevice& device_;
  int port_ = 1;
  bool open_ = false;
  std::string settings_ = "9600,N,8,2";
  LineSettings line_;
  bool speedRefused_ = false;  // by the device, at the last opening
};

}  // namespace quillon
