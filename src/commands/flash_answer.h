#pragma once

#include <optional>
#include <string>

namespace quillon {

/// Version and checksum of a controller's flash, in the form of its row: "02/10/31" and "58C3".
struct FlashFacts {
  std::string version;
  std::string checksum;
};

/// Parses the answer to the message $73, given as hex digits. Returns nothing for an answer of another
/// length, which belongs to another message. The answer has one of two forms:
///
///     byte    0  1  2  3  4  5  6  7  8  9 10 11 12 13
///     short  pp yy 07 .. .. V1 V2 V3 S1 S2 CC CC 04
///     long   pp yy 08 .. .. .. V1 V2 V3 S1 S2 CC CC 04
///
/// V1 to V3 are the version, S1 and S2 the low 16 bits of the sum of all flash bytes, CC the CRC. The digits
/// are copied, not converted: the version bytes 02 10 31 become "02/10/31".
std::optional<FlashFacts> ReadFlashAnswer(const std::string& answer);

/// Parses the answer of the boot code, which always has the short form.
std::optional<FlashFacts> ReadBootAnswer(const std::string& answer);

}  // namespace quillon
