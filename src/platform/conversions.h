#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

/// The whole number that a text box holds: decimal, an optional sign, blanks around it allowed; a fraction
/// rounds to the nearest whole number, a half to the even one ("2.5" is 2).
///
/// Raises RunError 13 when the text is not a number (an empty one too), 6 when it lies outside `low` to
/// `high`. `what` names the box in the description.
std::int64_t ToWholeNumber(std::string_view text, std::int64_t low, std::int64_t high, std::string_view what);

/// As ToWholeNumber, within 16 bits: -32768 to 32767.
int ToInteger(std::string_view text, std::string_view what);

/// As ToWholeNumber, within 32 bits.
std::int32_t ToLong(std::string_view text, std::string_view what);

}  // namespace quillon
