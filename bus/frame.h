#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bus/line.h"

namespace bus {

// The frames of the simulated line: building them, checking them, finding them in a stream of bytes.
//
// Questions and answers are frames. A frame with a payload of L bytes is L + 6 bytes long:
//
//     index    0          1         2     3 ... 2+L     3+L       4+L      5+L
//          | protocol | address |   L   |  payload  | CRC high | CRC low | 0x04 |
//
//     40 05 01 73 F8 A9 04       asks controller 5 (protocol byte 0x40) for version and checksum
//     |  |  |  |  |     end byte
//     |  |  |  |  CRC of 40 05 01 73
//     |  |  |  payload: the command $73, with no data
//     |  |  length of the payload
//     |  address: a controller's number, 0 to 31, or 0x5F for all
//     protocol byte: the one that the controller's firmware names; some commands use 0x40 for all
//
// The first byte of the payload is the command; in an answer it is the code: 0x61 accepted, 0xE1 refused.
//
// The CRC is CRC-16/XMODEM. It treats all bytes before it as one long binary number, highest bit first, and
// divides that by 1 0001 0000 0010 0001 (the polynomial x^16 + x^12 + x^5 + 1, written 0x1021 without its
// highest bit). Subtraction is exclusive or, so nothing is carried. The remainder of 16 bits is the CRC. It
// starts at 0, and nothing is inverted or mirrored. It detects every single wrong bit, and every burst of up
// to 16 damaged bits.
//
// One message is not a frame in this sense. The text frame moves a controller from protocol 3 to protocol 4,
// and has neither length nor CRC:
//
//     40 23 70 34 30 30 3A 34 2F       to controller 5
//     |  |  p  4  0  0  :  4  /
//     |  controller's number + 30
//     0x40
//
// Its second byte lies between 30 and 61, so the numbers 30 and 31 can be read as an address as well. The
// seven characters decide.

constexpr std::uint8_t kBroadcastAddress = 0x5F;
constexpr std::uint8_t kFixedProtocol = 0x40;
constexpr int kControllerNumbers = 32;  // 0 to 31
constexpr int kShortestFrame = 7;       // bytes
constexpr int kLongestFrame = 261;      // bytes
constexpr std::size_t kTextFrameLength = 9;
constexpr int kTextFrameOffset = 30;  // added to the controller's number in a text frame

constexpr std::size_t kBeforePayload = 3;  // protocol byte, address, length
constexpr std::size_t kAfterPayload = 3;   // CRC high, CRC low, end byte
constexpr std::size_t kFrameOverhead = kBeforePayload + kAfterPayload;

/// CRC-16/XMODEM.
std::uint16_t Crc16(std::span<const std::uint8_t> bytes);

/// Adds CRC and end byte to `opened`, which runs from the protocol byte to the last byte of the payload.
Bytes CloseFrame(Bytes opened);

/// True for a text frame, whichever controller it is for.
bool IsTextFrame(std::span<const std::uint8_t> bytes);

/// What the tool sent: a frame, or a run of bytes that form none.
struct ReceivedFrame {
  Time begins{};
  Time ends{};
  LineFormat format;
  Bytes bytes;
  bool intact = true;  // false: no frame, or one that collided with an answer; no controller acts on it
};

/// Finds the frames in a stream of bytes, in whatever pieces the stream arrives.
///
/// The length byte determines where a frame ends; a text frame has nine bytes. Where no frame can begin
/// (impossible address, wrong CRC or end byte) one byte is skipped, and the search continues at the next one.
/// An unfinished frame is discarded when the line pauses for ten characters (20 ms at least) or the format
/// changes. Otherwise a damaged length byte would consume the questions that follow. Skipped bytes are
/// returned as a `ReceivedFrame` that is not intact, at the latest together with the next frame.
class Framer {
 public:
  /// Adds one byte. Returns what is complete now.
  std::vector<ReceivedFrame> Add(std::uint8_t value, Time begins, Time ends, const LineFormat& format,
                                 Reception reception);

 private:
  struct Timing {
    Time begins;
    Time ends;
    Reception reception;
  };
  struct Run {  // consecutive bytes with their timing
    Bytes bytes;
    std::vector<Timing> timings;
  };
  enum class Content { Frame, Noise };

  static void MoveFront(std::size_t count, Run& from, Run& to);
  ReceivedFrame Describe(const Run& run, Content content) const;
  void FlushNoise(std::vector<ReceivedFrame>& found);

  Run pending_;  // may still become a frame
  Run noise_;    // skipped
  LineFormat format_;
};

}  // namespace bus
