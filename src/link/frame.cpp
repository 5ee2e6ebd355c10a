// Closes the frames that the tool sends, and reads bytes of the answers. Both have the same form:
//
//     protocol  address  L  code and rest of the payload, L bytes  CRC high  CRC low  04
//
// The CRC is computed from hex text, and an answer is stored as hex digits. This is their form in the log, so
// the same functions can check a line of the log.
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
  const std::size_t firstDigit = 2 * n;
  return firstDigit < answer.size() ? answer.substr(firstDigit, 2) : std::string();
}

bool IsAcknowledge(const std::string& answer) {
  constexpr std::size_t kCode = 3;  // index of the byte
  constexpr const char* kAccepted = "61";
  return AnswerByte(answer, kCode) == kAccepted;
}

}  // namespace quillon
