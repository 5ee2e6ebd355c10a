#pragma once

#include <charconv>
#include <stdexcept>
#include <string>

namespace bus {

// The largest that the command line takes; no line needs more, and sums of them stay far from overflow.
constexpr int kHighestSpeed = 10'000'000;  // bits per second
constexpr int kLongestWait = 3'600'000;    // ms

/// The whole number that `text` is: digits alone, 010 is ten. Throws std::invalid_argument, whose text says
/// which numbers there are.
template <typename Number>
Number ReadNumber(const std::string& text, Number low, Number high, int base = 10) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number, base);
  if (error == std::errc{} && stopped == end && number >= low && number <= high) return number;
  const auto digits = [base](Number value) {
    char room[24];
    return std::string(room, std::to_chars(room, room + sizeof room, value, base).ptr);
  };
  throw std::invalid_argument((text.empty() ? "a value is missing:" : "\"" + text + "\" is not") +
                              (base == 16 ? " a hexadecimal" : " a") + " number from " + digits(low) +
                              " to " + digits(high));
}

}  // namespace bus
