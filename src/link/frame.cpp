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

bool IsAcknowledge(const std::string& answer) { return AnswerByte(answer, 3) == "61"; }

}  // namespace quillon
