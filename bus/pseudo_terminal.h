// The port of the simulated bus: a pseudo-terminal and a link to it.
#pragma once

#include <span>
#include <string>

#include "bus/line.h"

namespace bus {

/// A file descriptor; closed with the object.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();
  int Number() const { return number_; }

 private:
  int number_;
};

/// The bus's end of a pseudo-terminal that serves the tool as a serial port.
///
/// A pseudo-terminal has two ends: what is written to one is read from the other. The bus keeps the master.
/// The tool opens the slave by its path (/dev/pts/7) as it would open a real port, and the bus can read the
/// speed and format that the tool sets there. It differs from a real port in four ways:
///   - It has no speed: a thousand bytes arrive at once. The bus has to pace them.
///   - It edits lines and echoes by default. It is made raw here, at 9600 8N2. The bus also keeps the slave
///     open, so that these settings remain when the tool closes it.
///   - It keeps bytes until they are read. Old ones are discarded when the tool opens it.
///   - The tool's claim to be the only user (TIOCEXCL) remains when the tool was killed, because the slave is
///     still open here. Then only root could open the port. The claim is removed when the port is closed.
///
/// The tool may open and close it any number of times. It disappears when the object ends.
///
/// All calls throw std::system_error when the system refuses.
class PseudoTerminal {
 public:
  PseudoTerminal();

  const std::string& Path() const { return path_; }
  int ReadDescriptor() const { return master_.Number(); }      // becomes readable when the tool has written
  int OpenStateDescriptor() const { return watch_.Number(); }  // readable: the port was opened or closed

  /// Reads whether the port was opened or closed since the last call. If so, discards the bytes that wait for
  /// the tool. Call it before `Read` and `Write`, so that no answer to a new frame is discarded.
  void UpdateOpenState();

  /// The tool's current speed and format; speed 0 when it has hung up.
  LineFormat Format() const;

  /// Returns the bytes that the tool has written since the last call; may be empty.
  Bytes Read();

  /// Sends bytes to the tool. They are lost while the port is closed, and when the tool doesn't read.
  void Write(std::span<const std::uint8_t> bytes);

 private:
  Descriptor master_;
  Descriptor slave_;  // kept open, so that format and bytes remain when the tool closes its own
  Descriptor watch_;
  std::string path_;
  bool toolHasPortOpen_ = false;
  bool justClosed_ = false;  // as of UpdateOpenState; bytes that are read now were written before the close
};

/// Reserves a link for one bus, for the lifetime of the object.
///
/// The target of a link can't show whether a bus still serves it: the system assigns the number of a closed
/// terminal to the next one that any program opens. So a bus binds a socket to an abstract name made of the
/// folder and the name of the link. The system releases it when the process ends, in whatever way.
class LinkClaim {
 public:
  /// Throws std::runtime_error, naming the remedy, when another bus has reserved the link. Changes no file.
  explicit LinkClaim(const std::string& path);

 private:
  Descriptor socket_;
};

/// A symbolic link to a pseudo-terminal; removed with the object, unless it points elsewhere by then.
class PortLink {
 public:
  /// Replaces a link to /dev/pts/, which an ended bus has left. Throws std::runtime_error, naming the remedy,
  /// and changes nothing when anything else has that name or the folder can't be written.
  PortLink(std::string path, std::string target);
  ~PortLink();
  PortLink(const PortLink&) = delete;
  PortLink& operator=(const PortLink&) = delete;

 private:
  std::string path_;
  std::string target_;
};

}  // namespace bus
