#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

/// Converts the text of a box, a decimal number with an optional sign, to a whole number. Blanks around it
/// are ignored. A fraction is rounded to the nearest number, a half to the even one: "2.5" is 2. Raises
/// RunError 13 for other texts, 6 for a number outside `low` to `high`. `what` is the name of the box.
std::int64_t ToWholeNumber(std::string_view text, std::int64_t low, std::int64_t high, std::string_view what);

/// Like ToWholeNumber, from -32768 to 32767.
int ToInteger(std::string_view text, std::string_view what);

/// Like ToWholeNumber, within 32 bits.
std::int32_t ToLong(std::string_view text, std::string_view what);

}  // namespace quillon
