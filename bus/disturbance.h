// The physical causes that damage bytes between the tool and one controller.
#pragma once

#include <random>

#include "bus/line.h"

namespace bus {

using Random = std::mt19937_64;

/// What damages the bytes from and to one controller. Each chance is 0 to 1; 0 is a good line.
///
///     noise        any byte, any bit: a cable beside a motor. It affects all controllers behind the place.
///
///     reflections  bytes after the eighth of a transmission, any bit: a terminator is missing.
///
///     slowClock    how much slower than right the controller's clock is, 0 to 0.5. Sender and receiver drift
///                  apart within each byte, so the last data bit is read too early or too late:
///
///         sender    |start| d0 | d1 | d2 | d3 | d4 | d5 | d6 | d7 |stop
///         receiver  |start | d0  | d1  | d2  | d3  | d4  | d5  | d6  | d7  |
///
///                  The edges have a jitter of a few microseconds, a larger part of a bit at higher speeds.
///
///     lostStart    the first byte of an answer is missing: the line driver is switched on too late.
struct Disturbance {
  double noise = 0;
  double reflections = 0;
  double slowClock = 0;
  double lostStart = 0;
};

/// The bytes of a question or an answer as the other end receives them.
Bytes Damage(Bytes bytes, const Disturbance& disturbance, int baud, Random& random);

/// True in `chance` (0 to 1) of all calls.
bool Happens(double chance, Random& random);

/// A random time whose mean is `mean`, as between events that do not depend on each other.
Time RandomInterval(Time mean, Random& random);

}  // namespace bus
