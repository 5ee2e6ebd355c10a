#pragma once

#include <cstddef>
#include <string_view>

#include "link/text_arithmetic.h"

namespace quillon {

/// A line of an Intel HEX file, read by columns, which are counted from 1:
///
///     1        ":"
///     2 to 3   LL, number of data bytes
///     4 to 7   AAAA, load address
///     8 to 9   TT, record type
///     10 on    LL data bytes, two digits each, then a check byte
///
/// hex_faults.h checks the columns, this class does not. Columns that a short line lacks are empty.
class HexLine {
 public:
  static constexpr std::size_t kDataColumn = 10;

  explicit HexLine(std::string_view text) : text_(text) {}

  bool Empty() const { return text_.empty(); }

  /// Whether this is the record that selects the first 64 KiB. Files begin with it; it contains no data.
  bool IsFirstSegment() const { return text_ == ":020000040000FA"; }

  /// Columns `first` to `last`; less where the line is shorter.
  std::string_view Columns(std::size_t first, std::size_t last) const {
    return first <= text_.size() ? text_.substr(first - 1, last - first + 1) : std::string_view();
  }

  /// LL, 0 to 255.
  unsigned DataLength() const { return Value(Columns(2, 3)); }
  /// The load address, 0 to 0xFFFF. Digits that a cut line lacks count as 0.
  unsigned Address() const {
    const std::string_view digits = AddressText();
    return Value(digits) << 4 * (kAddressDigits - digits.size());
  }
  std::string_view AddressText() const { return Columns(4, 7); }
  /// The digits of data byte `k`, from 0: two, or less where the line ends.
  std::string_view DataPair(std::size_t k) const {
    return Columns(kDataColumn + 2 * k, kDataColumn + 1 + 2 * k);
  }

 private:
  static constexpr std::size_t kAddressDigits = 4;

  static unsigned Value(std::string_view digits) {
    unsigned value = 0;
    for (const char digit : digits) value = value << 4 | HexDigit(digit);
    return value;
  }

  std::string_view text_;
};

}  // namespace quillon
