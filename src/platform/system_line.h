#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quillon {

/// The open device of a serial port, implemented for each operating system. QSerialPort is not used: it
/// updates its buffers only while window events are handled. Only AwaitLastBytes and DropUnsent block.
class SystemLine {
 public:
  /// Opens a port exclusively and drops bytes that it received before. Raises RunError 8002 (no such port),
  /// 8005 (in use) or 70 (no permission); the settings of the device are then unchanged.
  SystemLine(const std::string& programFolder, int number);
  SystemLine(const SystemLine&) = delete;
  SystemLine& operator=(const SystemLine&) = delete;
  /// Bytes that are not yet sent are lost.
  ~SystemLine();

  /// Sets the speed in bits per second, 8 data bits, no parity, 2 stop bits and no handshaking. Returns false
  /// and restores the former settings when the device refuses, or differs from the speed by more than 3 %.
  bool SetSpeed(int baud);

  /// Passes as many bytes to the device as it accepts now, and returns their number. Returns -1 when the
  /// device has failed, now or with earlier bytes, and in all later calls.
  std::ptrdiff_t Send(std::span<const std::uint8_t> bytes);

  /// Appends at most 64 KiB of received bytes: noise may be endless. Returns false when the device has
  /// failed.
  bool Receive(std::vector<std::uint8_t>& bytes);

  /// The largest step by which Unsent decreases: adapters report sent bytes in blocks.
  static constexpr std::size_t kMostPerStep = 512;

  /// The number of accepted bytes that are not yet sent; 0 if the device does not report it.
  std::size_t Unsent() const;

  /// Drops accepted bytes that are not yet sent.
  void DropUnsent();

  /// Waits some milliseconds for the last bytes in the hardware. Call it when Unsent returns 0.
  void AwaitLastBytes();

  /// Whether the device was removed or has failed.
  bool Gone() const;

  /// What an event loop watches for received bytes: a file descriptor, or on Windows the handle of an event.
  std::intptr_t Watched() const;

 private:
  struct Device;
  std::unique_ptr<Device> device_;
};

}  // namespace quillon
