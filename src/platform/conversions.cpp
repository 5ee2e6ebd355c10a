// Parses the numbers that operators type, and rounds them to whole numbers:
//
//     " 63 " -> 63     "2.5" -> 2 (a half is rounded to the even number)     "1e9", "" -> an error
//
// An error names the box, its text and the valid range.
#include "platform/conversions.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Whether the text consists of digits and at most one point. `from_chars` also accepts "inf" and "1e9".
bool IsPlainDecimal(std::string_view digits) {
  return digits.find_first_of("0123456789") != digits.npos &&
         digits.find_first_not_of("0123456789.") == digits.npos && digits.find('.') == digits.rfind('.');
}

}  // namespace

std::int64_t ToWholeNumber(std::string_view text, std::int64_t low, std::int64_t high,
                           std::string_view what) {
  std::string_view digits = Trimmed(text);
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  if (!IsPlainDecimal(digits)) {
    throw RunError(RunError::kTypeMismatch, "Type mismatch: " + std::string(what) + " contains \"" +
                                                std::string(text) +
                                                "\", which is not a number. Enter a whole number.");
  }
  // `from_chars` does not change `magnitude` when the number is too large for a double. It is then still
  // infinite, and the comparison below refuses it.
  double magnitude = std::numeric_limits<double>::infinity();
  std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
  const double value = std::nearbyint(negative ? -magnitude : magnitude);
  if (!(value >= static_cast<double>(low) && value <= static_cast<double>(high))) {
    throw RunError(RunError::kOverflow, "Overflow: " + std::string(what) + " contains " + std::string(text) +
                                            ". Enter a number from " + std::to_string(low) + " to " +
                                            std::to_string(high) + ".");
  }
  return static_cast<std::int64_t>(value);
}

/// A whole number of 16 bits.
int ToInteger(std::string_view text, std::string_view what) {
  return static_cast<int>(ToWholeNumber(text, std::numeric_limits<std::int16_t>::min(),
                                        std::numeric_limits<std::int16_t>::max(), what));
}

/// A whole number of 32 bits.
std::int32_t ToLong(std::string_view text, std::string_view what) {
  return static_cast<std::int32_t>(ToWholeNumber(text, std::numeric_limits<std::int32_t>::min(),
                                                 std::numeric_limits<std::int32_t>::max(), what));
}

}  // namespace quillon
