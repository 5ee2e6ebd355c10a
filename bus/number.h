// Whole numbers on the command line.
#pragma once

#include <charconv>
#include <stdexcept>
#include <string>

namespace bus {

// The largest values that the command line accepts. No line needs more, and their sums can't overflow.
constexpr int kHighestSpeed = 10'000'000;  // bits per second
constexpr int kLongestWait = 3'600'000;    // ms

/// Parses a whole number of digits alone; 010 is ten. Throws std::invalid_argument, whose text names the
/// range.
template <typename Number>
Number ReadNumber(const std::string& text, Number low, Number high, int base = 10) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number, base);
  if (error == std::errc{} && stopped == end && number >= low && number <= high) return number;
  const auto digits = [base](Number value) {
    char buffer[24];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value, base).ptr);
  };
  throw std::invalid_argument((text.empty() ? "a value is missing:" : "\"" + text + "\" is not") +
                              (base == 16 ? " a hexadecimal" : " a") + " number from " + digits(low) +
                              " to " + digits(high));
}

}  // namespace bus
