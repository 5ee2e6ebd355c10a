#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "bus/disturbance.h"
#include "bus/frame.h"
#include "bus/line.h"

namespace bus {

// One simulated controller: its flash, its commands, its faults.
//
// The questions and the answers: payloads, which frame.h puts into frames. The second column is the protocol
// byte, 40 or the controller's own.
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
// The answer to $73 has two forms. The longer has a second filler byte, so version and checksum follow one
// byte later. Only the length distinguishes the two:
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
// A controller is programmed with a whole image, in three steps:
//   1. Erase. All bytes become 0xFF, and it waits in download mode for batches.
//   2. Batches, to one controller or to all in download mode at once (address 0x5F, no answer: see line.h).
//   3. Checksum. It compares and leaves download mode. Then it uses the protocol byte and the speed that its
//      new image names: the next $73 reaches it at those, not at the former ones. An image that names none
//      leaves both as they were before the erase.
//
// Erase and Checksum change the speed at which the controller listens, and their answer still comes at the
// former one. If that answer gets lost, the tool repeats its question at the former speed. So the controller
// keeps the last message that changed its speed. It answers the same message at the former speed again, until
// it has received a message at the new one.

/// The commands; the table above shows their bytes.
enum class Command { Check, Erase, Batch, Checksum, Boot, ToProtocol3, ToProtocol4 };

/// First byte of an answer's payload.
enum class Code : std::uint8_t { Accepted = 0x61, Refused = 0xE1 };

/// One fault of one controller. It counts the messages addressed to the controller (with `command`, only
/// those) and affects messages `first` to `last`, counted from 1.
struct Fault {
  enum class Kind {
    Silent,   // ignores the message and does not answer; a batch is lost
    Dead,     // ignores everything from message `first` on
    Late,     // answers `delay` later than usual
    Corrupt,  // answers with a wrong CRC
    Code,     // executes the command and answers with the code `value`
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
  double chance = 1.0;  // 0 to 1: of affecting a message between `first` and `last`, by the bus's seed
  bool operator==(const Fault&) const = default;
};

/// Length of the answer to $73.
enum class AnswerForm { Bytes13, Bytes14 };

/// The protocol byte that $75/$50 must contain: the controller's own, 0x40, or either.
enum class BootProtocol { Either, Own, Fixed };

/// Where a programmed image contains its version, speed and protocol byte.
///
/// `Find` takes address 0x2020 when a protocol byte was programmed there, else 0x008B when one was programmed
/// there, else none. An image with code at 0x2022 and its description at 0x008B needs `At008B`.
enum class Metadata { Find, At2020, At008B, None };

/// The state of a controller at the start.
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
  bool protocol3 = false;  // starts in protocol 3: answers $73 only after the text frame
  std::vector<Fault> faults{};
  Disturbance disturbance{};
};

/// The bytes that a controller sends, and how much later than the line's answer delay.
struct Answer {
  Bytes bytes;
  Time extraDelay{};
};

/// One simulated controller. Owned by a `Bus`.
///
/// It acts on a frame when the line has its speed and 8N2, the address is its number (or 0x5F in a batch,
/// while it is in download mode), and the protocol byte fits the command. It is silent otherwise. It refuses
/// a $74 that names neither of the two speeds.
class Controller {
 public:
  /// Throws std::invalid_argument for a number, speed, flash or fault out of range.
  Controller(ControllerSetup setup, int downloadBaud);

  /// Acts on an intact frame. Returns the answer, if there is one.
  std::optional<Answer> Receive(const ReceivedFrame& frame, Random& random);

  int Number() const { return setup_.number; }
  const Disturbance& GetDisturbance() const { return setup_.disturbance; }
  int Baud() const { return baud_; }                   // current speed
  std::uint8_t Protocol() const { return protocol_; }  // its own protocol byte
  const Bytes& Flash() const { return flash_; }        // all 65,536 addresses
  std::array<std::uint8_t, 3> Version() const;         // as $73 returns it

  /// Sum of the 57,342 bytes of flash, wherever in the 16-bit address space they are: a programmed byte
  /// counts with its value, each other byte with 255. $73 returns the low 16 bits.
  std::uint32_t Checksum() const;

  /// Adds a fault; its count of messages begins now. Throws std::invalid_argument for a length out of range.
  void AddFault(Fault fault);

 private:
  struct CountedFault {
    Fault fault;
    int seen = 0;  // messages counted so far
  };
  struct SpeedChange {
    Bytes message;  // the cause
    int formerBaud;
    Bytes answer;  // to `message`, at the former speed
  };

  bool IsForMe(Command command, const Bytes& message) const;
  std::vector<Fault> CountMessage(Command command, Random& random);
  Bytes HandleMessage(Command command, const Bytes& message);
  Bytes Execute(Command command, const Bytes& message);
  Bytes Acknowledge(Code code) const;
  Bytes AnswerFrame(const Bytes& payload) const;
  Bytes CheckAnswer() const;
  Bytes BootAnswer() const;
  Code Erase(std::uint8_t speedChoice);
  Code WriteBatch(const Bytes& message);
  Code EndProgramming(const Bytes& message);
  void ApplyImageSettings();
  Metadata FoundMetadata() const;
  Answer ApplyFaults(Answer answer, const Bytes& message, const std::vector<Fault>& faults) const;

  ControllerSetup setup_;
  int downloadBaud_;
  int baud_;
  int ownBaud_;  // outside download mode
  std::uint8_t protocol_;
  Bytes flash_;
  std::int64_t flashSum_;  // of all addresses, kept up to date: adding them up takes longer than all else
  bool inDownloadMode_ = false;
  bool wasErased_ = false;
  bool inProtocol4_;
  bool dead_ = false;
  std::vector<CountedFault> faults_;
  std::optional<SpeedChange> speedChange_;  // the last one, until a message comes at the new speed
};

}  // namespace bus
