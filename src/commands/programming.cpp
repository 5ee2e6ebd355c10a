#include "commands/programming.h"

#include "link/outcome.h"
#include "link/text_arithmetic.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::uint8_t kProgramming = 0x75;
constexpr std::uint8_t kBatch = 0x10;
constexpr std::uint8_t kFullChecksum = 0x0F;
constexpr std::size_t kHeadBytes = 4;  // of the payload, ahead of a batch
constexpr std::size_t kLongestPayload = 255;
constexpr std::size_t kFewestDigits = 5;

}  // namespace

Bytes BatchFrame(int address, const Bytes& payload) {
  const std::size_t length = payload.size() + kHeadBytes;
  if (length > kLongestPayload) {
    throw RunError(RunError::kOverflow,
                   "Overflow: a batch of " + std::to_string(payload.size()) +
                       " bytes does not fit into a frame. Make the HEX file anew with lines "
                       "of at most 128 data bytes.");
  }
  Bytes frame{kFixedProtocol,
              static_cast<std::uint8_t>(address),
              static_cast<std::uint8_t>(length),
              kProgramming,
              0xAA,
              0x55,
              kBatch};
  frame.insert(frame.end(), payload.begin(), payload.end());
  return CloseFrame(std::move(frame));
}

Bytes FullChecksumFrame(int y, const std::string& checksum) {
  const std::string padding(checksum.size() < kFewestDigits ? kFewestDigits - checksum.size() : 0, '0');
  const std::string digits = padding + checksum;
  const auto pair = [&](std::size_t n) {
    return static_cast<std::uint8_t>(HexToNumber(std::string_view(digits).substr(2 * n, 2)));
  };
  return CloseFrame({kFixedProtocol, static_cast<std::uint8_t>(y), 7, kProgramming, 0xAA, 0x55, kFullChecksum,
                     pair(0), pair(1), pair(2)});
}

int Quillon::SendFullChecksum(int y, const char* status, const char* logLine) {
  ShowProgress(ControllerText(y) + status, true);
  FrameBuffer = FullChecksumFrame(y, AnalyseHexFile());
  LogMessage(logLine);
  const int outcome = SendForAcknowledge([&](int result) { ReportFailure(y, result); });
  if (outcome == kAnswered) Log("Answer : 61");
  return outcome;
}

}  // namespace quillon
