#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quillon {

/// The open device of a serial port, as one operating system has it: bytes go straight to and from the
/// device, since what waits and what left has to be known at once, with no event served. Nothing here waits,
/// but AwaitLastBytes, and for a moment DropLeaving.
class SystemLine {
 public:
  /// Opens a port for this program alone and drops what it received before. Raises RunError 8002 (no such
  /// port), 8005 (in use) or 70 (no right to it), with the way out in the words of the system; then nothing
  /// was touched.
  SystemLine(const std::string& programFolder, int number);
  SystemLine(const SystemLine&) = delete;
  SystemLine& operator=(const SystemLine&) = delete;
  /// What is still leaving is lost.
  ~SystemLine();

  /// Sets the speed (bits per second, met to 3 %), 8 data bits, no parity, 2 stop bits and no handshaking;
  /// false when the device takes something else, which is undone.
  bool SetSpeed(int baud);

  /// Hands on as many bytes as the device takes now and returns their number; -1 when the device failed, now
  /// or with bytes that it took before, and from then on.
  std::ptrdiff_t Send(std::span<const std::uint8_t> bytes);

  /// Appends what the device holds, up to 64 KB at a time, since a line that babbles may never end; false
  /// when the device failed.
  bool Receive(std::vector<std::uint8_t>& bytes);

  /// Bytes that leave between two changes of Leaving, at most: adapters count in blocks.
  static constexpr std::size_t kMostPerStep = 512;

  /// Number of bytes that the device has taken and not yet sent; 0 where it can't tell.
  std::size_t Leaving() const;

  /// Drops what the device has taken and not yet sent.
  void DropLeaving();

  /// Waits for the last bytes in the hardware, some milliseconds. Call it when none is Leaving.
  void AwaitLastBytes();

  /// Whether the device went away.
  bool Gone() const;

  /// What an event loop watches in order to be woken by received bytes: a file descriptor on Linux, an
  /// event's handle on Windows.
  std::intptr_t Watched() const;

 private:
  struct Device;
  std::unique_ptr<Device> device_;
};

}  // namespace quillon
