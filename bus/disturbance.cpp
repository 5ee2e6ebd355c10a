// Damages bytes at random, as the physical causes in disturbance.h do. The same seed damages the same bytes
// on every computer, so a failed test can be repeated. Each cause has its own chance for each byte:
//
//     noise         one bit of any byte
//     reflections   one bit of a byte after the eighth
//     slow clock    the last data bit, which is sampled the latest
#include "bus/disturbance.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace bus {
namespace {

constexpr std::size_t kBeforeReflections = 8;  // bytes
constexpr std::uint8_t kLastDataBit = 0x80;

/// A random number above 0, at most 1. Standard distributions are not used: they differ between libraries.
double Fraction(Random& random) {
  constexpr double kSteps = 9007199254740992;  // 2^53
  return static_cast<double>((random() >> 11) + 1) / kSteps;
}

/// The chance that the last data bit is misread. Its middle has moved by 8.5 bit times of drift, and the
/// reading is wrong when the jitter exceeds what is left of half a bit.
double ClockDamage(double slowClock, int baud) {
  constexpr double kMiddleOfLastBit = 8.5;  // bit times from the start bit on
  constexpr double kJitter = 5e-6;          // standard deviation in seconds
  if (slowClock <= 0) return 0;
  const double margin = 0.5 - kMiddleOfLastBit * slowClock;  // bit times
  return 0.5 * std::erfc(margin / (kJitter * baud) / std::numbers::sqrt2);
}

}  // namespace

bool Happens(double chance, Random& random) { return chance > 0 && Fraction(random) <= chance; }

/// Independent events have exponentially distributed intervals: -mean * ln(fraction). Never 0.
Time RandomInterval(Time mean, Random& random) {
  return Time(static_cast<std::int64_t>(-std::log(Fraction(random)) * static_cast<double>(mean.count())) + 1);
}

Bytes Damage(Bytes bytes, const Disturbance& disturbance, int baud, Random& random) {
  const double clockDamage = ClockDamage(disturbance.slowClock, baud);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (Happens(disturbance.noise, random)) bytes[i] ^= static_cast<std::uint8_t>(1U << random() % 8);
    if (i >= kBeforeReflections && Happens(disturbance.reflections, random))
      bytes[i] ^= static_cast<std::uint8_t>(1U << random() % 8);
    if (Happens(clockDamage, random)) bytes[i] ^= kLastDataBit;
  }
  return bytes;
}

}  // namespace bus
