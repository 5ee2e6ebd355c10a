#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace bus {

// The bus simulator: a serial line with up to 32 controllers, in memory (bus.h) or on a pseudo-terminal
// (server.h). It is written from the description of the line alone and shares no code with the tool, so that
// a wrong frame cannot agree with itself. This file describes the line.
//
// The line is one pair of wires. The tool and up to 32 controllers are connected to it in parallel.
//
// A byte at 8N2 (eight data bits, no parity, two stop bits) takes eleven bit times, so a line at 9600 bits
// per second carries 872 bytes per second:
//
//     idle 1 |start 0| d0 | d1 | d2 | d3 | d4 | d5 | d6 | d7 |stop 1|stop 1| idle 1
//
// A receiver counts these bit times by its own clock from the start bit on. One that is set to another speed
// or format samples the bits at wrong places and receives no frame. A controller at another speed does not
// answer.
//
// Half duplex: all receive what one sends, and only one may send at a time. Two senders at once drive the
// wires together and damage both transmissions. Only a convention prevents that: the tool asks one
// controller, that controller answers, and the tool waits until the answer has ended before it asks again.
//
//     tool         |== question ==|                                      |== next question ==|
//     controller                     |== answer ==|
//                                 |--|-------- pause of the tool --------|
//                             answer delay
//
// A pause ends an answer. Answers differ in length (2, 7, 13 or 14 bytes), and no byte value is reserved for
// the end: 0x04 closes a frame, but may occur anywhere inside it too. A length byte can be damaged like any
// other. Only the silence after the last byte is certain. So the tool waits, from the first byte on, for much
// longer than any answer takes. The answer is what was received by then.
//
// Echo: many adapters keep receiving while they send. The tool then gets its own question back first, and the
// answer after it. It has to recognise its own bytes and discard them.
//
// A broadcast has no answer. If it had one, all controllers would answer at the same moment, and the tool
// would receive damaged bytes. So it cannot know which controllers received a broadcast. It waits after each
// one, for as long as the bytes are on the line and the slowest controller needs to store them. In the end it
// asks every controller to confirm the checksum.

using Bytes = std::vector<std::uint8_t>;

/// Nanoseconds since a moment that the caller chooses; only moves forward.
using Time = std::chrono::nanoseconds;

/// How bytes are put on the line. Both ends must use the same format.
struct LineFormat {
  int baud = 9600;  // bits per second, above 0
  int dataBits = 8;
  char parity = 'N';  // N none, E even, O odd, M mark, S space
  int stopBits = 2;
  bool operator==(const LineFormat&) const = default;
};

/// How a byte is received: Garbled when another sender was on the line at the same time.
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
