#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "bus/frame.h"
#include "bus/line.h"

namespace bus {

// What a controller is asked, and what it answers: the payloads, which frame.h puts into frames. The second
// column is the protocol byte, 40 or the controller's own.
//
//     Command      Byte     Question                      Answer
//     Check        own      73                            version and checksum, drawn below
//     Erase        own      74 55 AA F0                   61; now it listens at the download speed
//                           74 55 BB F0                   61; it keeps its speed
//     Batch        40       75 AA 55 10 address data...   61, or E1 without an erase before; none to all
//     Checksum     40       75 AA 55 0F sum (3 bytes)     61 when its flash has that sum, else E1
//     Boot         either   75 AA 55 50                   those of the boot code, as in 13 bytes below
//     ToProtocol3  40       55                            61
//     ToProtocol4  40       the text frame                68 2F: two bytes, no frame, no CRC
//
// The answer to $73 comes in two forms. The longer has a second filler byte, so version and checksum stand
// one byte further on. Only its length says which one it is:
//
//     13 bytes   40 05 07 61 00    01 02 03  1E 02  D7 E2  04
//     14 bytes   40 05 08 61 00 00 01 02 03  1E 02  7B 66  04
//                |  |  |  |  |     |         |      |      end byte
//                |  |  |  |  |     |         |      CRC
//                |  |  |  |  |     |         checksum of the flash, its low 16 bits
//                |  |  |  |  |     version 01/02/03
//                |  |  |  |  filler
//                |  |  |  code: accepted
//                |  |  length of the payload
//                |  number of the controller
//                protocol byte, its own
//
// How a controller is programmed. Only a whole new image makes sense in flash, so it goes in three steps:
//   1. Erase. All bytes become 0xFF, and it waits in download mode for batches.
//   2. Batches, to one controller or to all in download mode at once (address 0x5F, no answer: see line.h).
//   3. Checksum. It compares and leaves download mode. Then it lives by its new image, which names a protocol
//      byte and a speed: from here on the next $73 finds it at those, not at the former ones. An image that
//      names none leaves it as it was before the erase.
//
// Erase and Checksum thus change the speed at which the controller listens, and their answer still comes at
// the former one. If that answer gets lost, the tool repeats its question at the former speed, where nobody
// would listen any more. So the controller keeps the last message that moved it, and answers the same message
// at the former speed again, until it has heard something at the new one.

using Random = std::mt19937_64;

/// What a controller can be asked; the table above shows the bytes.
enum class Command { Check, Erase, Batch, Checksum, Boot, ToProtocol3, ToProtocol4 };

/// First byte of an answer's payload.
enum class Code : std::uint8_t { Accepted = 0x61, Refused = 0xE1 };

/// One thing that goes wrong at one controller. It counts the messages that the controller takes as its own
/// (or, with `command`, only those) and strikes at message `first` to `last`, counted from 1.
struct Fault {
  enum class Kind {
    Silent,   // ignores the message and does not answer; a batch is lost
    Dead,     // ignores everything from message `first` on
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
  bool operator==(const Fault&) const = default;
};

/// Length of the answer to $73.
enum class AnswerForm { Bytes13, Bytes14 };

/// Which protocol byte $75/$50 has to carry: the controller's own, 0x40, or either.
enum class BootProtocol { Either, Own, Fixed };

/// Where a programmed image describes itself: version, speed and protocol byte.
///
/// `Find` takes address 0x2020 when a protocol byte was programmed there, else 0x008B when one was programmed
/// there, else none. An image that holds code at 0x2022 and describes itself at 0x008B needs `At008B`.
enum class Metadata { Find, At2020, At008B, None };

/// A controller as it is at the start.
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
  bool protocol3 = false;  // is in protocol 3, and answers $73 only after the text frame
  std::vector<Fault> faults{};
};

/// What a controller sends, and how much later than the line's answer delay.
struct Answer {
  Bytes bytes;
  Time extraDelay{};
};

/// One simulated controller: what it holds, what it hears, what it answers. Owned by a `Bus`.
///
/// It takes a frame as its own when the line has its speed and 8N2, the address is its number (or 0x5F in a
/// batch, while it is in download mode), and the protocol byte fits the command. It is silent otherwise, as
/// all of its neighbours on the line are. A $74 that names neither of the two speeds is refused.
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
  struct Move {     // the last change of speed
    Bytes message;  // that led to it
    int formerBaud;
    Bytes answer;  // to it, at the former speed
  };

  bool IsForMe(Command command, const Bytes& message) const;
  std::vector<Fault> CountMessage(Command command, Random& random);
  Bytes TakeMessage(Command command, const Bytes& message);
  Bytes Act(Command command, const Bytes& message);
  Bytes Acknowledge(Code code) const;
  Bytes AnswerFrame(const Bytes& payload) const;
  Bytes CheckAnswer() const;
  Bytes BootAnswer() const;
  Code Erase(std::uint8_t speedChoice);
  Code TakeBatch(const Bytes& message);
  Code EndProgramming(const Bytes& message);
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
