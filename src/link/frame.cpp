// The two ends of every message: closing a frame that goes out, and taking apart an answer that came.
//
//     pp aa LL payload CC CC 04      protocol, address, length of the payload, CRC, end byte; more in frame.h
//
// The CRC is reckoned over hex text, and an answer is kept as hex digits: both as they stand in the log, so
// that any line of it can be checked as the tool checked it.
#include "link/frame.h"

#include <string_view>

#include "link/text_arithmetic.h"

namespace quillon {

Bytes CloseFrame(Bytes frame) {
  const std::string crc = FrameCrc(ByteArrayToHex(CrcPart(frame)));
  const std::string_view digits = crc;
  frame.push_back(static_cast<std::uint8_t>(HexToNumber(digits.substr(0, 2))));
  frame.push_back(static_cast<std::uint8_t>(HexToNumber(digits.substr(2, 2))));
  frame.push_back(kEndByte);
  return frame;
}

std::string AnswerByte(const std::string& answer, std::size_t n) {
  return 2 * n < answer.size() ? answer.substr(2 * n, 2) : std::string();
}

bool IsAcknowledge(const std::string& answer) {
  constexpr std::size_t kCode = 3;
  constexpr const char* kAccepted = "61";
  return AnswerByte(answer, kCode) == kAccepted;
}

}  // namespace quillon
