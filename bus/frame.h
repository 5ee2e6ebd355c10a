#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bus/line.h"

namespace bus {

/// A frame: protocol byte, address, length L, L payload bytes (the first is the command), CRC high, CRC low,
/// end byte 0x04. The one exception is the text frame: 0x40, controller number + 30, "p400:4/".
constexpr std::uint8_t kBroadcastAddress = 0x5F;
constexpr std::uint8_t kFixedProtocol = 0x40;
constexpr int kControllerNumbers = 32;     // 0 to 31
constexpr int kShortestFrame = 7;          // bytes
constexpr int kLongestFrame = 261;         // bytes
constexpr std::size_t kFrameOverhead = 6;  // bytes of a frame beside its payload
constexpr std::size_t kTextFrameLength = 9;
constexpr int kTextFrameOffset = 30;  // added to the controller's number in a text frame

/// CRC-16/XMODEM: polynomial 0x1021, start value 0, not reflected.
std::uint16_t Crc16(std::span<const std::uint8_t> bytes);

/// Puts CRC and end byte behind `opened` (protocol byte to last payload byte).
Bytes CloseFrame(Bytes opened);

/// True for a text frame, whichever controller it is for.
bool IsTextFrame(std::span<const std::uint8_t> bytes);

/// What the tool put on the line: a frame, or a run of bytes that make none.
struct Heard {
  Time begins{};
  Time ends{};
  LineFormat format;
  Bytes bytes;
  bool intact = true;  // false: no frame, or one that collided with an answer; no controller acts on it
};

/// Finds the frames in a stream of bytes, however the stream was cut on its way.
///
/// A frame ends by its length byte; a text frame by its nine characters. Behind bytes that make no frame
/// (wrong CRC or end byte, impossible address) the search goes on one byte further. An unfinished frame is
/// given up when the line pauses for ten characters (20 ms at least) or the format changes. Bytes that were
/// passed over are given out as a `Heard` that isn't intact, at the latest with the next frame.
class Framer {
 public:
  /// Adds one byte; `garbled` when another sender was on the line at that time. Returns what is complete now.
  std::vector<Heard> Add(std::uint8_t value, Time begins, Time ends, const LineFormat& format, bool garbled);

 private:
  struct Stamp {
    Time begins;
    Time ends;
    bool garbled;
  };
  struct Run {  // bytes one behind the other, each with its stamp
    Bytes bytes;
    std::vector<Stamp> stamps;
  };

  static void MoveFront(Run& from, Run& to, std::size_t count);
  Heard Describe(const Run& run, bool isFrame) const;
  void TakeNoise(std::vector<Heard>& found);

  Run pending_;
  Run noise_;
  LineFormat format_;
};

}  // namespace bus
