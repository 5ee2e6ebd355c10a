#pragma once

#include <span>
#include <string>

#include "bus/line.h"

namespace bus {

/// An open file of the system's; closed with the object.
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
/// A pseudo-terminal is a pair of ends: what is written to the one is read from the other. The bus keeps the
/// master; the tool opens the slave by its path (/dev/pts/7) as it would open a real port, and the speed and
/// format that it sets there can be read here. Three things are not as on a real port. It has no pace: a
/// thousand bytes arrive at once, whatever the speed, so the bus has to pace them. It edits lines and echoes
/// unless its settings say otherwise; it is made raw here, at 9600 8N2, and the bus holds the slave open too,
/// so that this outlasts the tool's closing. And it keeps what nobody read, which a real port does not; that
/// is dropped when the tool opens it.
///
/// The tool may open and close it any number of times, and sees it vanish when the object ends.
///
/// All calls throw std::system_error when the system refuses.
class PseudoTerminal {
 public:
  PseudoTerminal();

  const std::string& Path() const { return path_; }
  int Readable() const { return master_.Number(); }  // to poll for: bytes from the tool
  int Attention() const { return watch_.Number(); }  // to poll for: the port was opened or closed

  /// Takes note of the port being opened and closed since the last call, and drops what waits for the tool if
  /// it was. Call it before `Read` and `Write`: an answer to the first frame after an opening is then safe.
  void NoteOpening();

  /// The tool's current speed and format; speed 0 when it has hung up.
  LineFormat Format() const;

  /// What the tool has written and nobody has read yet; empty when there is nothing.
  Bytes Read();

  /// Passes bytes to the tool. They are lost while the port is closed, and when the tool doesn't read.
  void Write(std::span<const std::uint8_t> bytes);

 private:
  Descriptor master_;
  Descriptor slave_;  // held open, so that format and bytes outlast the tool's closing
  Descriptor watch_;
  std::string path_;
  bool inUse_ = false;       // the tool has the port open
  bool justClosed_ = false;  // at the last NoteOpening: bytes that are read now were written before
};

/// The right of one bus to a link, for as long as the object lives.
///
/// Where the link leads can't tell whether a bus lives there: the system gives the number of a terminal that
/// was closed to the next one that anybody opens. So a bus that serves a link binds a socket to an abstract
/// name, made of the folder and the link's name. The system takes it away with the process, however that
/// ends.
class LinkClaim {
 public:
  /// Throws std::runtime_error, naming the way out, when another bus has the claim. Changes no file.
  explicit LinkClaim(const std::string& path);

 private:
  Descriptor socket_;
};

/// A symbolic link to a pseudo-terminal; removed with the object, unless it points elsewhere by then.
class PortLink {
 public:
  /// Replaces a link that a bus left over. Throws std::runtime_error, naming the way out, and changes nothing
  /// when anything else is in the way or the folder does not take it.
  PortLink(std::string path, std::string target);
  ~PortLink();
  PortLink(const PortLink&) = delete;
  PortLink& operator=(const PortLink&) = delete;

 private:
  std::string path_;
  std::string target_;
};

}  // namespace bus
