// An exchange: the tool sends a frame, and the controller that it addresses may answer.
//
//     send the frame  ->  wait for a byte, up to `Text1` ms  ->  wait 0.5 s, read  ->  check the CRC
//           ^                                                                                |
//           +------------ no answer or a damaged one: at most three sends -------------------+
//
// - The line is half duplex: all stations share one pair of wires, and only one of them may send at a time.
//   So a controller sends only when it was asked.
// - A pause ends an answer. Nothing in an answer marks its end reliably: its length byte may be damaged, and
//   two controllers with the same number may both answer.
// - An echo is not an answer. Many adapters receive what they send, so the frame itself arrives before the
//   answer. The tool drops it and restarts the wait.
// - The result of the last send counts. A damaged answer followed by silence is reported as no answer.
// - An answer is valid when its CRC is correct. One answer has no CRC: 68 2F, by which a controller accepts
//   the change from protocol 3 to 4.
//
// `Text1` is the box of the time-out, `MSComm1` the serial port.
#include "link/exchange.h"

#include <span>

#include "link/frame.h"
#include "link/log.h"
#include "link/log_lines.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"

namespace quillon {
namespace {

/// kEnded: bytes were received, or the time-out has expired.
enum class WaitResult { kEnded, kCancelled };

/// The bytes as hex digits without blanks, the form of `AnswerText`.
std::string DigitsOf(std::span<const std::uint8_t> bytes) {
  std::string text = ByteArrayToHex(bytes);
  std::erase(text, ' ');
  return text;
}

/// Waits until a byte is received or the clock passes `deadline`, in seconds.
WaitResult AwaitFirstByte(Quillon& form, double deadline) {
  form.run.Yield();
  while (!form.AbortRequested) {
    if (form.MSComm1.InBufferCount() != 0 || form.clock.Now() > deadline) return WaitResult::kEnded;
    form.run.YieldUntil(deadline);
  }
  return WaitResult::kCancelled;
}

/// The bytes received after a frame.
struct Received {
  Bytes bytes;
  double delay = 0;  ///< seconds from the start of the wait to the first byte
};

/// One exchange: the frame, and whether the short answer 68 2F is valid.
struct Exchange {
  const Bytes& frame;
  ShortAnswer shortAnswer;
  /// The number of the addressed controller. In the frame 40 23 "p400:4/", the only one with a short answer,
  /// the address byte 23 is the number of controller 5 + kTextFrameAddressOffset.
  int Controller() const {
    return shortAnswer == ShortAnswer::kIsGood ? frame[1] - kTextFrameAddressOffset : frame[1];
  }
};

void ReportAnswer(Quillon& form, const Exchange& exchange, const Received& received, Judgement judgement) {
  form.Report(AnswerReceived{exchange.Controller(), judgement, received.bytes, received.delay});
}

/// Waits up to `timeout` seconds for a first byte, pauses, and reads the received bytes. An echo restarts the
/// wait; one that is read after the deadline is returned in `received`.
WaitResult AwaitAnswer(Quillon& form, const Exchange& exchange, double timeout, Received& received) {
  for (;;) {
    const double begin = form.clock.Now();
    const double deadline = begin + timeout;
    if (AwaitFirstByte(form, deadline) == WaitResult::kCancelled) return WaitResult::kCancelled;
    const double waited = form.clock.Now();
    form.run.Yield();
    form.clock.SleepUntil(waited + form.AnswerDelay);
    received = {form.MSComm1.Input(), waited - begin};
    if (received.bytes != exchange.frame) return WaitResult::kEnded;
    ReportAnswer(form, exchange, received, Judgement::kEcho);
    if (form.clock.Now() >= deadline) return WaitResult::kEnded;
  }
}

/// The result of one send. Stores an answer with a correct CRC in `answer`, as hex digits.
ExchangeResult JudgeAnswer(Quillon& form, const Exchange& exchange, const Received& received,
                           std::string& answer) {
  if (received.bytes.empty() || received.bytes == exchange.frame) return ExchangeResult::kNoAnswer;
  Log(form, kReceivedLog + ByteArrayToHex(received.bytes));
  const std::string digits = DigitsOf(received.bytes);
  const bool checked = CrcMatches(received.bytes);
  if (checked) answer = digits;
  const bool good = checked || (exchange.shortAnswer == ShortAnswer::kIsGood && digits == kShortAnswer);
  ReportAnswer(form, exchange, received, good ? Judgement::kGood : Judgement::kDamaged);
  return good ? ExchangeResult::kAnswered : ExchangeResult::kBadAnswer;
}

}  // namespace

bool CrcMatches(const Bytes& received) {
  constexpr std::size_t kCrcAndEndByte = 3;  // a frame ends with 04, which occurs in its data too
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
      return "Communication Error - CRC false 3 time";  // spelled so on purpose
    case ExchangeResult::kRefused:
      return "Communication Failure - 3 * E1";  // three answers with the code E1, refused
  }
  return "";
}

void StartLink(Quillon& form) {
  form.AnswerDelay = kAnswerPause;
  form.MSComm1.SetInputMode(SerialControl::kText);
}

ExchangeResult SendFrame(Quillon& form, const Bytes& frame, std::string& answer, ShortAnswer shortAnswer) {
  const double timeout = ToLong(form.Text1.Text(), "Time Out") / 1000.0;
  ExchangeResult result = ExchangeResult::kNoAnswer;
  const Exchange exchange{frame, shortAnswer};
  for (int send = 1; send <= kSends; ++send) {
    form.MSComm1.SetInputMode(SerialControl::kRawBytes);
    form.MSComm1.Output(frame);
    form.Report(FrameSent{frame, send});
    form.MSComm1.SetInputLen(0);
    Received received;
    if (AwaitAnswer(form, exchange, timeout, received) == WaitResult::kCancelled)
      return ExchangeResult::kNoAnswer;  // rows and log show it like silence; run events say kCancelled
                                         // (ReplyOf)
    result = JudgeAnswer(form, exchange, received, answer);
    if (result == ExchangeResult::kAnswered) break;
  }
  Log(form, ExchangeResultText(result));
  return result;
}

Reply ReplyOf(const Quillon& form, ExchangeResult result) {
  switch (result) {
    case ExchangeResult::kAnswered:
      return Reply::kAccepted;
    case ExchangeResult::kNoAnswer:
      return form.AbortRequested ? Reply::kCancelled : Reply::kNoAnswer;
    case ExchangeResult::kBadAnswer:
      return Reply::kDamaged;
    case ExchangeResult::kRefused:
      return Reply::kRefused;
  }
  return Reply::kNoAnswer;
}

void FlushInput(Quillon& form) { form.MSComm1.Input(); }

}  // namespace quillon
