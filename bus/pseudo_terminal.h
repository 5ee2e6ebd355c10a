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
/// Raw and at 9600 8N2 from the start. The tool may open and close it any number of times; what nobody read
/// by then is lost when it is opened next, as on a real port. The tool sees the port vanish when the object
/// ends. All calls throw std::system_error when the system refuses.
class PseudoTerminal {
 public:
  PseudoTerminal();

  const std::string& Path() const { return path_; }
  int Readable() const { return master_.Number(); }  // to poll for: bytes from the tool
  int Attention() const { return watch_.Number(); }  // to poll for: the port was opened or closed

  /// Takes note of the port being opened and closed since the last call, and drops what waits for the tool if
  /// it was. Call it ahead of `Read` and `Write`: an answer to the first frame behind an opening is then
  /// safe.
  void NoteOpening();

  /// The tool's present speed and format; speed 0 when it has hung up.
  LineFormat Format() const;

  /// What the tool has written and nobody has read yet; empty when there is nothing.
  Bytes Read();

  /// Hands bytes to the tool. They are lost while the port is closed, and when the tool doesn't read.
  void Write(std::span<const std::uint8_t> bytes);

 private:
  Descriptor master_;
  Descriptor slave_;  // held open, so that format and bytes outlast the tool's closing
  Descriptor watch_;
  std::string path_;
  bool inUse_ = false;       // the tool has the port open
  bool justClosed_ = false;  // at the last NoteOpening: bytes that are read now were written before
};

/// A symbolic link to a pseudo-terminal; removed with the object, unless it points elsewhere by then.
class PortLink {
 public:
  /// Replaces a link that leads nowhere or to a pseudo-terminal. Throws std::runtime_error, naming the way
  /// out, when anything else is in the way or the folder doesn't take it.
  PortLink(std::string path, std::string target);
  ~PortLink();
  PortLink(const PortLink&) = delete;
  PortLink& operator=(const PortLink&) = delete;

 private:
  std::string path_;
  std::string target_;
};

}  // namespace bus
