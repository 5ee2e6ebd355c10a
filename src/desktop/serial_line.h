#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quillon {

/// What the serial port asks of an open terminal device beyond QSerialPort: bytes moved with no buffer in
/// between, and the truth about the device. `device` is its file descriptor, set not to block.
namespace serial_line {

/// Opens a terminal device for this program alone, without touching its settings. Gives its file descriptor,
/// or the negated error number of the system; -EBUSY when another program has claimed it.
int OpenAlone(const char* device);

/// The group to join for the right to a device: the one that it belongs to, when that group may read and
/// write it and is not the administrator's own. Else empty.
std::string GroupWithRight(const char* device);

/// The lock file by which programs of this system tell each other that a device is in use, such as
/// "/var/lock/LCK..ttyUSB0"; whether it is there or not. `device` is the device's own path, no link.
std::string LockFileOf(const std::string& device);

/// Whether a lock file is there and holds, in its first line, the number of another process that lives.
bool HeldByAnother(const std::string& lockFile);

/// Whether the device runs at `baud` bits per second (to 3 %) with 8 data bits, no parity and 2 stop bits.
bool RunsAt(int device, int baud);

/// Hands on as many bytes as the device takes now and gives their number; -1 when the device failed.
std::ptrdiff_t Send(int device, std::span<const std::uint8_t> bytes);

/// Appends all that the device holds; false when the device failed.
bool Receive(int device, std::vector<std::uint8_t>& bytes);

/// Drops what the device has received so far.
void DropReceived(int device);

/// Number of bytes that the device has taken and not yet sent; 0 where it can't tell.
std::size_t Leaving(int device);

/// Waits for the last bytes in the hardware, some milliseconds. Call it when none is Leaving.
void AwaitLastBytes(int device);

/// Whether the device of the descriptor went away.
bool Gone(int device);

}  // namespace serial_line
}  // namespace quillon
