#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "bus/frame.h"
#include "bus/line.h"

namespace bus {

using Random = std::mt19937_64;

/// What a controller can be asked. On the line: $73, $74, $75 with sub-code $10, $0F or $50, $55, text frame.
enum class Command { Check, Erase, Batch, Checksum, Boot, ToProtocol3, ToProtocol4 };

/// One thing that goes wrong at one controller. It counts the messages that the controller takes as its own
/// (or, with `command`, only those) and strikes at message `first` to `last`, counted from 1.
struct Fault {
  enum class Kind {
    Silent,   // takes no notice of the message and gives no answer; a batch is lost
    Dead,     // from message `first` on takes no notice of anything any more
    Late,     // answers `delay` later than usual
    Corrupt,  // answers with a wrong CRC
    Code,     // does what it was asked and answers with the code `value`
    Length,   // answers with `value` bytes in all (7 to 261), payload cut or filled with zeros, CRC right
    Short,    // answers with the first `value` bytes of its answer (1 or more)
    Echo,     // sends back the message in place of an answer
  };
  static constexpr int kForever = -1;

  Kind kind = Kind::Silent;
  int first = 1;
  int last = kForever;
  int value = 0;
  Time delay{};
  std::optional<Command> command{};
  double chance = 1.0;  // 0 to 1: how often it strikes between `first` and `last`, by the bus's seed
};

/// Length of the answer to $73: 13 bytes, or 14 with version and checksum one byte further on.
enum class AnswerForm { Bytes13, Bytes14 };

/// Which protocol byte $75/$50 has to carry: the controller's own, 0x40, or either.
enum class BootProtocol { Either, Own, Fixed };

/// Where a programmed image tells its version, speed and protocol byte.
///
/// `Find` takes address 0x2020 when a protocol byte was programmed there, else 0x008B when one was programmed
/// there, else none. An image that holds code at 0x2022 and tells of itself at 0x008B wants `At008B`.
enum class Metadata { Find, At2020, At008B, None };

/// A controller as it hangs on the bus at the start.
struct ControllerSetup {
  int number = 0;  // 0 to 31
  int baud = 9600;
  std::uint8_t protocol = 0x40;
  std::array<std::uint8_t, 3> version{0x01, 0x02, 0x03};  // until an erase
  std::array<std::uint8_t, 3> bootVersion{0x01, 0x00, 0x00};
  std::uint16_t bootChecksum = 0xB007;
  Bytes flash{};  // from address 0 on; the rest is 0xFF
  AnswerForm form = AnswerForm::Bytes13;
  BootProtocol bootProtocol = BootProtocol::Either;
  Metadata metadata = Metadata::Find;
  bool protocol3 = false;  // stands in protocol 3 and answers $73 only after the text frame
  std::vector<Fault> faults{};
};

/// What a controller sends, and how much later than the line's answer delay.
struct Answer {
  Bytes bytes;
  Time extraDelay{};
};

/// One simulated controller: what it holds, what it hears, what it answers. Owned by a `Bus`.
///
/// It hears a frame when speed and format of the line are its own (always 8N2), the address is its own number
/// (or 0x5F in a programming batch) and the protocol byte fits: its own for $73 and $74, 0x40 for $55, the
/// text frame and $75, `bootProtocol` for $75/$50. It is silent otherwise.
///
/// $74 erases: all bytes become 0xFF, and until the end of programming it is in download mode, with $AA at
/// the bus's download speed, with $BB at its own. Only in download mode does it take batches; a batch of its
/// own at another time is refused with 0xE1, as is a $74 that names neither speed. $75/$0F compares and
/// answers 0x61 or 0xE1. Either ends the download mode: the controller then lives by its image (speed,
/// protocol byte, version), or as before the erase where the image names none, and is in protocol 3 again if
/// that is its kind.
///
/// An answer may get lost. So a message that made a controller change its speed is answered again at the
/// former speed, when repeated unchanged, until the controller has heard a message at the new one.
class Controller {
 public:
  /// Throws std::invalid_argument for a number, speed, flash or fault out of range.
  Controller(ControllerSetup setup, int downloadBaud);

  /// Acts on an intact frame. Returns the answer, or nothing when it keeps silent.
  std::optional<Answer> Hear(const Heard& frame, Random& random);

  int Number() const { return setup_.number; }
  int Baud() const { return baud_; }                   // at which it listens now
  std::uint8_t Protocol() const { return protocol_; }  // its own protocol byte
  int BatchesTaken() const { return batchesTaken_; }   // since the last erase
  const Bytes& Flash() const { return flash_; }        // all 65,536 addresses
  std::array<std::uint8_t, 3> Version() const;         // as $73 shows it

  /// Sum of the 57,342 bytes of flash, wherever in the 16-bit address space they lie: what was programmed
  /// counts with its value, all the rest with 255. $73 shows the low 16 bits.
  std::uint32_t Checksum() const;

  /// Adds a fault; its count of messages begins now. Throws std::invalid_argument for a length out of range.
  void AddFault(Fault fault);

 private:
  struct Counted {
    Fault fault;
    int seen = 0;  // messages counted so far
  };
  struct Move {  // the message that led to another speed, the speed at which it came, what it got
    Bytes message;
    int formerBaud;
    Bytes answer;
  };

  bool IsForMe(Command command, const Bytes& message) const;
  std::vector<Fault> Striking(Command command, Random& random);
  Bytes TakeMessage(Command command, const Bytes& message);
  Bytes Act(Command command, const Bytes& message);
  Bytes Acknowledge(bool accepted) const;
  Bytes AnswerFrame(const Bytes& payload) const;
  Bytes CheckAnswer() const;
  Bytes BootAnswer() const;
  bool Erase(std::uint8_t speedChoice);
  bool TakeBatch(const Bytes& message);
  bool EndProgramming(const Bytes& message);
  void LiveByImage();
  Metadata FoundMetadata() const;
  Answer Spoil(Answer answer, const Bytes& message, const std::vector<Fault>& striking) const;

  ControllerSetup setup_;
  int downloadBaud_;
  int baud_;
  int ownBaud_;  // outside download mode
  std::uint8_t protocol_;
  Bytes flash_;
  bool inDownloadMode_ = false;
  bool wasErased_ = false;
  bool inProtocol4_;
  bool dead_ = false;
  int batchesTaken_ = 0;
  std::vector<Counted> faults_;
  std::optional<Move> move_;
};

}  // namespace bus
