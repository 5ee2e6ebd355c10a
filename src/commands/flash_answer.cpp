// Extracts version and checksum from an answer. It has one of two forms, which only its length distinguishes:
//
//     short, 13 bytes   pp yy 07 .. .. V1 V2 V3 S1 S2 CC CC 04
//     long,  14 bytes   pp yy 08 .. .. .. V1 V2 V3 S1 S2 CC CC 04
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
