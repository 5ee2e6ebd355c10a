#pragma once

#include <optional>
#include <string>

namespace quillon {

/// What a controller holds, as a row shows it: "02/10/31" and "58C3".
struct FlashFacts {
  std::string version;
  std::string checksum;
};

/// Reads an answer to the message $73, given as hex digits. Nothing: its length belongs to another question.
///
/// It has one of two forms, known by their length:
///
///     byte    0  1  2  3  4  5  6  7  8  9 10 11 12 13
///     short  pp yy 07 .. .. V1 V2 V3 S1 S2 CC CC 04
///     long   pp yy 08 .. .. .. V1 V2 V3 S1 S2 CC CC 04
///
/// V1 to V3 are the version; S1 and S2 the last 16 bits of the sum of all flash bytes; CC the CRC. Version
/// and checksum are taken digit by digit, as they stand.
std::optional<FlashFacts> ReadFlashAnswer(const std::string& answer);

/// The same for the boot code, which answers in the short form alone.
std::optional<FlashFacts> ReadBootAnswer(const std::string& answer);

}  // namespace quillon
