// Extracts version and checksum from the answer to Flash Info (message $73) or Boot Info (message $75). The
// answer has one of two forms, which only their length distinguishes:
//
//     byte               0  1  2  3  4  5  6  7  8  9 10 11 12 13
//     short, 13 bytes   pp nn 07 .. .. V1 V2 V3 S1 S2 CC CC 04
//     long,  14 bytes   pp nn 08 .. .. .. V1 V2 V3 S1 S2 CC CC 04
//
// pp is the protocol byte, nn the controller's number, 07 or 08 the length of the payload, CC CC the CRC. The
// version V1 V2 V3 is shown as "02/10/31", the checksum S1 S2 as "58C3". The answer is hex text, so its
// digits are copied, not converted. The boot code always answers in the short form.
#include "commands/flash_answer.h"

#include "link/frame.h"

namespace quillon {
namespace {

constexpr std::size_t kShortForm = 26;  // hex digits
constexpr std::size_t kLongForm = 28;
constexpr std::size_t kShortFormVersion = 5;  // index of the byte V1
constexpr std::size_t kLongFormVersion = 6;

FlashFacts ReadFacts(const std::string& answer, std::size_t versionByte) {
  const auto byte = [&](std::size_t n) { return AnswerByte(answer, versionByte + n); };
  return {byte(0) + "/" + byte(1) + "/" + byte(2), byte(3) + byte(4)};
}

}  // namespace

std::optional<FlashFacts> ReadFlashAnswer(const std::string& answer) {
  if (answer.size() == kLongForm) return ReadFacts(answer, kLongFormVersion);
  return ReadBootAnswer(answer);
}

std::optional<FlashFacts> ReadBootAnswer(const std::string& answer) {
  if (answer.size() != kShortForm) return std::nullopt;
  return ReadFacts(answer, kShortFormVersion);
}

}  // namespace quillon
