// Decodes frames and answers. A frame is a protocol byte, the address (the number of a controller, or 5F for
// all), the length of the payload, the payload, two bytes of CRC and 04:
//
//     40 05 01 73 F8 A9 04     "asks controller 5 for version and checksum"
//
// Each known frame is built by the functions with which the tool builds it (commands/frames.h, with a table
// of all payloads) and compared with the bytes. So the parser can't differ from what the tool sends.
#include "log/frame_parser.h"

#include <algorithm>
#include <span>

#include "commands/frames.h"
#include "forms/quillon.h"
#include "link/exchange.h"
#include "link/text_arithmetic.h"

namespace quillon {
namespace {

constexpr std::size_t kTail = 3;  // bytes after the payload: the CRC and 04

std::string Digits(std::span<const std::uint8_t> bytes) {
  std::string digits = ByteArrayToHex(bytes);
  std::erase(digits, ' ');
  return digits;
}

/// Whether the length of a frame matches its length byte.
bool IsWhole(const Bytes& frame) { return CrcPart(frame).size() + kTail == frame.size(); }

std::string Name(int controller) {
  return controller == kAllControllers ? "all" : "controller " + std::to_string(controller);
}

std::optional<Request> ParseBatch(const Bytes& frame, int address) {
  // The payload of BatchFrame follows the bytes that all batches have.
  const std::size_t head = BatchFrame(address, {}).size() - kTail;
  constexpr std::size_t kLoadAddress = 2;
  if (!IsWhole(frame) || frame.size() < head + kLoadAddress + kTail) return std::nullopt;
  const Bytes payload(frame.begin() + static_cast<std::ptrdiff_t>(head),
                      frame.end() - static_cast<std::ptrdiff_t>(kTail));
  if (frame != BatchFrame(address, payload)) return std::nullopt;
  const std::size_t size = payload.size() - kLoadAddress;
  const std::string from = Digits(std::span(payload).first(kLoadAddress));
  return Request{RequestKind::kBatch, address,
                 "sends " + std::to_string(size) + " bytes for address " + from + " to " + Name(address),
                 size};
}

std::optional<Request> ParseFullChecksum(const Bytes& frame, int controller) {
  const Bytes pattern = FullChecksumFrame(controller, "");
  if (frame.size() != pattern.size()) return std::nullopt;
  constexpr std::size_t kChecksumBytes = 3;
  const std::string digits =
      Digits(std::span(frame).subspan(frame.size() - kTail - kChecksumBytes, kChecksumBytes));
  if (frame != FullChecksumFrame(controller, digits)) return std::nullopt;
  return Request{RequestKind::kFullChecksum, controller,
                 "asks " + Name(controller) + " to confirm the checksum, sent as " + digits};
}

/// Parses the frame that moves a controller to protocol 4: the text "p400:4/" after protocol byte and
/// address. The address is not the number of the controller, so the frames for all numbers are compared.
std::optional<Request> ParseTextFrame(const Bytes& frame) {
  for (int controller = 0; controller < kControllers; ++controller) {
    if (frame == ToProtocol4Frame(controller))
      return Request{RequestKind::kToProtocol4, controller, "moves " + Name(controller) + " to protocol 4"};
  }
  return std::nullopt;
}

/// A frame whose address is the number of a controller.
std::optional<Request> ParseRequestTo(int controller, const Bytes& frame) {
  const std::uint8_t protocol = frame.front();
  const auto equals = [&](const Bytes& known) { return frame == known; };
  if (equals(FlashCheckFrame(protocol, controller)))
    return Request{RequestKind::kFlashCheck, controller,
                   "asks " + Name(controller) + " for version and checksum"};
  if (equals(FlashEraseFrame(protocol, controller, SpeedWhileProgramming::kKept)))
    return Request{RequestKind::kErase, controller,
                   "asks " + Name(controller) + " to erase its flash and to keep its speed"};
  if (equals(FlashEraseFrame(protocol, controller, SpeedWhileProgramming::kDownload)))
    return Request{RequestKind::kErase, controller,
                   "asks " + Name(controller) + " to erase its flash and to change to the download speed"};
  if (equals(BootCheckFrame(protocol, controller)))
    return Request{RequestKind::kBootCheck, controller,
                   "asks " + Name(controller) + " for version and checksum of its boot code"};
  if (equals(ToProtocol3Frame(controller)))
    return Request{RequestKind::kToProtocol3, controller,
                   "moves " + Name(controller) + " back to protocol 3"};
  if (const auto checksum = ParseFullChecksum(frame, controller)) return checksum;
  return ParseBatch(frame, controller);
}

std::string DescribeDamage(const Bytes& received) {
  if (!IsWhole(received)) {
    const std::size_t overhead = CloseFrame({0, 0, 0}).size();
    const std::string text = "wrong length: " + std::to_string(received.size()) + " bytes received";
    constexpr std::size_t kLengthByte = 2;
    if (received.size() <= kLengthByte) return text;
    return text + ", " + std::to_string(overhead + received[kLengthByte]) + " announced";
  }
  const std::string receivedCrc = Digits(std::span(received).last(kTail).first(2));
  return "false CRC: " + receivedCrc + " instead of " + FrameCrc(ByteArrayToHex(CrcPart(received)));
}

/// The answer to a request for version and checksum; `facts` are nothing if its length is wrong.
Answer JudgeFacts(const std::optional<FlashFacts>& facts, std::size_t bytes) {
  if (facts)
    return {AnswerVerdict::kGood, "version " + facts->version + ", checksum " + facts->checksum, facts};
  return {AnswerVerdict::kOtherLength,
          "wrong length: " + std::to_string(bytes) + " bytes, unlike any answer to this request",
          {}};
}

/// The answer to a command: a code that accepts or refuses it.
Answer JudgeAcknowledge(const std::string& digits) {
  if (IsAcknowledge(digits)) return {AnswerVerdict::kGood, "accepted", {}};
  return {AnswerVerdict::kRefused, "refused, code " + AnswerByte(digits, 3), {}};
}

}  // namespace

Request ParseRequest(const Bytes& frame) {
  std::optional<Request> request;
  if (frame.size() > 1) {
    const int address = frame[1];
    if (address < kControllers) request = ParseRequestTo(address, frame);
    if (address == kAllControllers) request = ParseBatch(frame, address);
    if (!request) request = ParseTextFrame(frame);
  }
  return request.value_or(Request{RequestKind::kUnknown, kNoController, "not a frame of the tool"});
}

Answer ParseAnswer(RequestKind kind, const Bytes& frame, const Bytes& received) {
  const std::string digits = Digits(received);
  if (CrcMatches(received)) {
    switch (kind) {
      case RequestKind::kFlashCheck:
      case RequestKind::kDetection:
        return JudgeFacts(ReadFlashAnswer(digits), received.size());
      case RequestKind::kBootCheck:
        return JudgeFacts(ReadBootAnswer(digits), received.size());
      case RequestKind::kUnknown:
      case RequestKind::kToProtocol4:
        return {AnswerVerdict::kGood, "answered", {}};
      default:
        return JudgeAcknowledge(digits);
    }
  }
  if (kind == RequestKind::kToProtocol4 && digits == kShortAnswer)
    return {AnswerVerdict::kGood, "accepted", {}};
  // An adapter that echoes returns the frame itself, perhaps in the same read as the answer.
  const bool echo = !frame.empty() && received.size() >= frame.size() &&
                    std::equal(frame.begin(), frame.end(), received.begin());
  if (!echo) return {AnswerVerdict::kDamaged, DescribeDamage(received), {}};
  const Bytes rest(received.begin() + static_cast<std::ptrdiff_t>(frame.size()), received.end());
  const std::string after =
      rest.empty() ? "" : ", and in the same read: " + ParseAnswer(kind, {}, rest).description;
  return {AnswerVerdict::kDamaged, "echo of the frame" + after, {}};
}

bool MatchesChecksum(const Bytes& fullChecksumFrame, const std::string& reported) {
  // The full checksum begins with one or two digits that a controller does not report. All values are tried.
  for (unsigned value = 0; value < 0x100; ++value) {
    const std::string twoDigits = Digits(Bytes{static_cast<std::uint8_t>(value)});
    for (const std::string& first : {twoDigits.substr(1), twoDigits}) {
      if (FullChecksumFrame(fullChecksumFrame[1], first + reported) == fullChecksumFrame) return true;
    }
  }
  return false;
}

}  // namespace quillon
