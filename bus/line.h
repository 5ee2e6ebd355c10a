#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace bus {

// The line is one pair of wires. The tool and up to 32 controllers hang on it side by side.
//
// A byte at 8N2 (eight data bits, no parity, two stop bits) takes eleven bit times, so a line at 9600 bits
// per second carries 872 bytes per second:
//
//     idle 1 |start 0| d0 | d1 | d2 | d3 | d4 | d5 | d6 | d7 |stop 1|stop 1| idle 1
//
// A receiver counts these bit times by its own clock from the start bit on. One that is set to another speed
// or format cuts the bits at wrong places and understands nothing. So a controller at another speed is not an
// error on the line. It is silence.
//
// Half duplex: everybody hears everybody, and only one may send at a time. Two at once pull the wires
// together and damage what both send. Nothing in the wires prevents that. There is only a custom: the tool
// asks one controller, that one answers, and the tool waits until the answer is over before it asks again.
//
//     tool         |== question ==|                                      |== next question ==|
//     controller                     |== answer ==|
//                                 |--|-------- pause of the tool --------|
//                             answer delay
//
// A pause ends an answer. Answers differ in length (2, 7, 13 or 14 bytes), and no byte value is kept for the
// end: 0x04 closes a frame, but may stand anywhere inside it too. A length byte can be damaged like any
// other. What is certain is the silence after the last byte. So the tool waits, from the first byte on, for
// much longer than any answer takes, and what came by then is the answer.
//
// Echo: many adapters keep listening while they send. The tool then gets its own question back first, and the
// answer after it. It has to know its own words and throw them away.
//
// A broadcast has no answer. If it had one, all controllers would answer at the same moment, and the tool
// would read the damage. So it cannot know who heard a broadcast. It waits after each one, for as long as the
// bytes are on the line and the slowest controller needs to store them, and asks every one for its checksum
// in the end.

using Bytes = std::vector<std::uint8_t>;

/// Nanoseconds since an epoch of the caller's own; only moves forward.
using Time = std::chrono::nanoseconds;

/// How bytes are put on the line. Two ends understand each other only when all of it is equal.
struct LineFormat {
  int baud = 9600;  // bits per second, above 0
  int dataBits = 8;
  char parity = 'N';  // N none, E even, O odd, M mark, S space
  int stopBits = 2;
  bool operator==(const LineFormat&) const = default;
};

/// What became of a byte on the line: Garbled when another sender was on the line at the same time.
enum class Reception { Clean, Garbled };

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

/// How long `count` bytes take, one right after the other.
inline Time TimeOf(std::size_t count, const LineFormat& format) {
  const int startBit = 1;
  const int parityBit = format.parity == 'N' ? 0 : 1;
  const int bits = startBit + format.dataBits + parityBit + format.stopBits;
  return Time(static_cast<std::int64_t>(count) * bits * kNanosecondsPerSecond / format.baud);
}

}  // namespace bus
