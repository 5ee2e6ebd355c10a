// An exchange: the tool sends a frame, and the controller that it is for may answer.
//
// The line is half duplex: all stations share one pair of wires, and one speaks at a time. So the tool speaks
// and then listens, and a controller speaks only when it was asked.
//
// A pause ends an answer. Nothing in an answer says reliably where it ends: its length byte may be damaged,
// and two controllers with the same number may both speak. The tool waits half a second from the first byte
// on and takes what came by then as the answer.
//
// An echo is no answer. Many adapters hear what they send. The frame then comes back before any answer. It
// proves only that the frame left, so the wait for the answer begins anew.
//
// Three sends, and the last one decides. The line is noisy, so a frame that got no good answer is sent again.
// A controller that answered badly and then fell silent counts as silent.
//
// The CRC makes an answer good, with one exception. An answer is a frame as drawn in frame.h; but the short
// answer 68 2F, with which a controller on protocol 3 says yes, has no CRC.
#include "link/exchange.h"

#include <span>

#include "link/log_lines.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

/// The digits of all bytes without a blank between them, as an answer is kept.
std::string DigitsOf(std::span<const std::uint8_t> bytes) {
  std::string text = ByteArrayToHex(bytes);
  std::erase(text, ' ');
  return text;
}

}  // namespace

bool CrcMatches(const Bytes& received) {
  constexpr std::size_t kCrcAndEndByte = 3;
  if (received.size() < kCrcAndEndByte) return false;
  return DigitsOf(std::span(received).last(kCrcAndEndByte).first(2)) ==
         FrameCrc(ByteArrayToHex(CrcPart(received)));
}

std::string ExchangeResultText(ExchangeResult result) {
  switch (result) {
    case ExchangeResult::kAnswered:
      return "Communication OK  - CRC checked";
    case ExchangeResult::kNoAnswer:
      return "No Answer";
    case ExchangeResult::kBadAnswer:
      return "Communication Error - CRC false 3 time";
    case ExchangeResult::kRefused:
      return "Communication Failure - 3 * E1";
  }
  return "";
}

void Quillon::StartLink() {
  AnswerDelay = kAnswerPause;
  MSComm1.SetInputMode(SerialControl::kText);
}

ExchangeResult Quillon::SendFrame(const Bytes& frame, std::string& answer, ShortAnswer shortAnswer) {
  const double timeout = ToLong(Text1.Text(), "Time Out") / 1000.0;
  ExchangeResult result = ExchangeResult::kNoAnswer;
  for (int send = 0; send < kSends; ++send) {
    MSComm1.SetInputMode(SerialControl::kRawBytes);
    MSComm1.Output(frame);
    MSComm1.SetInputLen(0);
    Bytes received;
    // The operator wants the run to end: nothing is sent again, and there is no outcome to log.
    if (AwaitAnswer(frame, timeout, received) == Wait::kCancelled) return ExchangeResult::kNoAnswer;
    result = JudgeAnswer(frame, received, answer, shortAnswer);
    if (result == ExchangeResult::kAnswered) break;
  }
  Log(ExchangeResultText(result));
  return result;
}

/// Waits up to `timeout` seconds for a first byte, pauses, and reads what came by then into `received`. After
/// an echo the answer gets the whole wait again; an echo that came past the deadline is taken for what was
/// received.
Wait Quillon::AwaitAnswer(const Bytes& frame, double timeout, Bytes& received) {
  double deadline = 0;
  do {
    deadline = clock_.Now() + timeout;
    if (AwaitFirstByte(deadline) == Wait::kCancelled) return Wait::kCancelled;
    const double waited = clock_.Now();
    Yield();
    clock_.SleepUntil(waited + AnswerDelay);
    received = MSComm1.Input();
  } while (received == frame && clock_.Now() < deadline);
  return Wait::kOver;
}

/// Until a byte came or the clock is past the deadline, in seconds.
Wait Quillon::AwaitFirstByte(double deadline) {
  Yield();
  while (!AbortRequested) {
    if (MSComm1.InBufferCount() != 0 || clock_.Now() > deadline) return Wait::kOver;
    YieldUntil(deadline);
  }
  return Wait::kCancelled;
}

/// One send's result. A checked answer goes into `answer` as hex digits; the short one leaves it as it was.
ExchangeResult Quillon::JudgeAnswer(const Bytes& frame, const Bytes& received, std::string& answer,
                                    ShortAnswer shortAnswer) {
  if (received.empty() || received == frame) return ExchangeResult::kNoAnswer;
  Log(kReceivedLog + ByteArrayToHex(received));
  const std::string digits = DigitsOf(received);
  if (CrcMatches(received)) {
    answer = digits;
    return ExchangeResult::kAnswered;
  }
  const bool good = shortAnswer == ShortAnswer::kIsGood && digits == kShortAnswer;
  return good ? ExchangeResult::kAnswered : ExchangeResult::kBadAnswer;
}

void Quillon::FlushInput() { MSComm1.Input(); }

}  // namespace quillon
