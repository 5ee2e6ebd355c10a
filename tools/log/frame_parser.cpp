// Decodes frames and answers. Each known frame is built by the functions with which the tool builds it
// (commands/frames.h) and compared with the bytes. So the parser can't differ from what the tool sends.
#include "log/frame_parser.h"

#include <algorithm>
#include <span>

#include "commands/frames.h"
#include "forms/quillon.h"
#include "link/exchange.h"
#include "link/text_arithmetic.h"

namespace quillon {
namespace {

constexpr std::size_t kTail = 3;  // bytes of a frame after those that its CRC covers: the CRC and 04

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

std::optional<Request> ParseFullChecksum(const Bytes& frame, int y) {
  const Bytes pattern = FullChecksumFrame(y, "");
  if (frame.size() != pattern.size()) return std::nullopt;
  constexpr std::size_t kChecksumBytes = 3;
  const std::string digits =
      Digits(std::span(frame).subspan(frame.size() - kTail - kChecksumBytes, kChecksumBytes));
  if (frame != FullChecksumFrame(y, digits)) return std::nullopt;
  return Request{RequestKind::kFullChecksum, y,
                 "asks " + Name(y) + " to confirm the checksum, sent as " + digits};
}

/// The frame that moves a controller to protocol 4 consists of text, such as "p400:4/".
std::optional<Request> ParseTextFrame(const Bytes& frame) {
  for (int y = 0; y < kControllers; ++y) {
    if (frame == ToProtocol4Frame(y))
      return Request{RequestKind::kToProtocol4, y, "moves " + Name(y) + " to protocol 4"};
  }
  return std::nullopt;
}

/// A frame to the one controller `y`.
std::optional<Request> ParseRequestTo(int y, const Bytes& frame) {
  const std::uint8_t protocol = frame.front();
  const auto is = [&](const Bytes& known) { return frame == known; };
  if (is(FlashCheckFrame(protocol, y)))
    return Request{RequestKind::kFlashCheck, y, "asks " + Name(y) + " for version and checksum"};
  if (is(FlashEraseFrame(protocol, y, SpeedWhileProgramming::kKept)))
    return Request{RequestKind::kErase, y, "asks " + Name(y) + " to erase its flash and to keep its speed"};
  if (is(FlashEraseFrame(protocol, y, SpeedWhileProgramming::kDownload)))
    return Request{RequestKind::kErase, y,
                   "asks " + Name(y) + " to erase its flash and to change to the download speed"};
  if (is(BootCheckFrame(protocol, y)))
    return Request{RequestKind::kBootCheck, y,
                   "asks " + Name(y) + " for version and checksum of its boot code"};
  if (is(ToProtocol3Frame(y)))
    return Request{RequestKind::kToProtocol3, y, "moves " + Name(y) + " back to protocol 3"};
  if (const auto checksum = ParseFullChecksum(frame, y)) return checksum;
  return ParseBatch(frame, y);
}

std::string DescribeDamage(const Bytes& received) {
  if (!IsWhole(received)) {
    const std::size_t overhead = CloseFrame({0, 0, 0}).size();
    const std::string came = "wrong length: " + std::to_string(received.size()) + " bytes received";
    constexpr std::size_t kLengthByte = 2;
    if (received.size() <= kLengthByte) return came;
    return came + ", " + std::to_string(overhead + received[kLengthByte]) + " announced";
  }
  const std::string there = Digits(std::span(received).last(kTail).first(2));
  return "false CRC: " + there + " instead of " + FrameCrc(ByteArrayToHex(CrcPart(received)));
}

Answer JudgeFacts(const std::optional<FlashFacts>& facts, std::size_t bytes) {
  if (facts)
    return {AnswerVerdict::kGood, "version " + facts->version + ", checksum " + facts->checksum, facts};
  return {AnswerVerdict::kOtherLength,
          "wrong length: " + std::to_string(bytes) + " bytes, unlike any answer to this request",
          {}};
}

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
  const bool echo = !frame.empty() && received.size() >= frame.size() &&
                    std::equal(frame.begin(), frame.end(), received.begin());
  if (!echo) return {AnswerVerdict::kDamaged, DescribeDamage(received), {}};
  const Bytes rest(received.begin() + static_cast<std::ptrdiff_t>(frame.size()), received.end());
  const std::string after =
      rest.empty() ? "" : ", and in the same read: " + ParseAnswer(kind, {}, rest).description;
  return {AnswerVerdict::kDamaged, "echo of the frame" + after, {}};
}

bool MatchesChecksum(const Bytes& fullChecksumFrame, const std::string& reported) {
  // The full checksum has one or two digits more than a controller reports.
  for (unsigned more = 0; more < 0x100; ++more) {
    const std::string two = Digits(Bytes{static_cast<std::uint8_t>(more)});
    for (const std::string& digits : {two.substr(1), two}) {
      if (FullChecksumFrame(fullChecksumFrame[1], digits + reported) == fullChecksumFrame) return true;
    }
  }
  return false;
}

}  // namespace quillon
