#include "link/exchange.h"

#include <algorithm>
#include <span>

#include "link/log_lines.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

std::string WithoutBlanks(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

}  // namespace

bool CrcMatches(const Bytes& received) {
  constexpr std::size_t kCrcAndEndByte = 3;
  if (received.size() < kCrcAndEndByte) return false;
  const std::string crc = WithoutBlanks(ByteArrayToHex(std::span(received).last(kCrcAndEndByte).first(2)));
  return crc == FrameCrc(ByteArrayToHex(CrcPart(received)));
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
  for (int send = 1;; ++send) {
    MSComm1.SetInputMode(SerialControl::kRawBytes);
    MSComm1.Output(frame);
    MSComm1.SetInputLen(0);
    Bytes received;
    if (!AwaitAnswer(frame, timeout, received)) return ExchangeResult::kNoAnswer;
    const ExchangeResult result = JudgeAnswer(frame, received, answer, shortAnswer);
    if (result != ExchangeResult::kAnswered && send < kSends) continue;
    Log(ExchangeResultText(result));
    return result;
  }
}

/// Waits up to `timeout` seconds for a first byte, pauses, and reads what came by then into `received`.
/// False: the operator cancelled.
bool Quillon::AwaitAnswer(const Bytes& frame, double timeout, Bytes& received) {
  for (;;) {
    const double deadline = clock_.Now() + timeout;
    if (!AwaitFirstByte(deadline)) return false;
    const double waited = clock_.Now();
    Yield();
    clock_.SleepUntil(waited + AnswerDelay);
    received = MSComm1.Input();
    // After an echo the answer gets the whole wait from here; an echo past the deadline is no answer.
    if (received != frame || clock_.Now() >= deadline) return true;
  }
}

/// Until a byte came or the clock is past the deadline, in seconds. False: the operator cancelled.
bool Quillon::AwaitFirstByte(double deadline) {
  for (Yield(); !AbortRequested; YieldUntil(deadline)) {
    if (MSComm1.InBufferCount() != 0 || clock_.Now() > deadline) return true;
  }
  return false;
}

/// One send's result. A checked answer goes into `answer` as hex digits; the short one leaves it as it was.
ExchangeResult Quillon::JudgeAnswer(const Bytes& frame, const Bytes& received, std::string& answer,
                                    ShortAnswer shortAnswer) {
  if (received.empty() || received == frame) return ExchangeResult::kNoAnswer;
  const std::string text = ByteArrayToHex(received);
  Log(kReceivedLog + text);
  const std::string digits = WithoutBlanks(text);
  if (CrcMatches(received)) {
    answer = digits;
    return ExchangeResult::kAnswered;
  }
  const bool good = shortAnswer == ShortAnswer::kIsGood && digits == kShortAnswer;
  return good ? ExchangeResult::kAnswered : ExchangeResult::kBadAnswer;
}

void Quillon::FlushInput() { MSComm1.Input(); }

}  // namespace quillon
