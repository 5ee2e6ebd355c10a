// An exchange: the tool sends a frame, and the controller that it addresses may answer.
//
// The line is half duplex: all stations share one pair of wires, and one of them sends at a time. So the tool
// sends and then listens, and a controller sends only when it was asked.
//
// A pause ends an answer. Nothing in an answer marks its end reliably: its length byte may be damaged, and
// two controllers with the same number may both answer. The tool waits half a second from the first byte on,
// and takes the bytes received by then as the answer.
//
// An echo is not an answer. Many adapters receive what they send. The frame then arrives before any answer.
// It proves only that the frame was sent, so the wait for the answer restarts.
//
// A frame is sent up to three times, and the result of the last send counts. The line is noisy, so a frame
// without a good answer is sent again. A controller that answered badly and then not at all counts as silent.
//
// The CRC makes an answer good, with one exception. An answer is a frame as drawn in frame.h; but the short
// answer 68 2F, with which a controller on protocol 3 accepts, has no CRC.
#include "link/exchange.h"

#include <span>

#include "link/frame.h"
#include "link/log.h"
#include "link/log_lines.h"
#include "link/text_arithmetic.h"
#include "platform/conversions.h"

namespace quillon {
namespace {

/// How a wait on the line ended.
enum class Wait { kOver, kCancelled };

/// The digits of all bytes without a blank between them, as an answer is kept.
std::string DigitsOf(std::span<const std::uint8_t> bytes) {
  std::string text = ByteArrayToHex(bytes);
  std::erase(text, ' ');
  return text;
}

/// Waits until a byte was received or the clock is past the deadline, in seconds.
Wait AwaitFirstByte(Quillon& form, double deadline) {
  form.run.Yield();
  while (!form.AbortRequested) {
    if (form.MSComm1.InBufferCount() != 0 || form.clock.Now() > deadline) return Wait::kOver;
    form.run.YieldUntil(deadline);
  }
  return Wait::kCancelled;
}

/// What was received after a frame.
struct Received {
  Bytes bytes;
  double delay = 0;  ///< seconds from the start of the wait to the first byte
};

/// One exchange: the frame, and the controller that it addresses.
struct Exchange {
  const Bytes& frame;
  ShortAnswer shortAnswer;
  /// Only the text frame of SendP4 is answered by the short answer; its address is shifted.
  int Controller() const {
    return shortAnswer == ShortAnswer::kIsGood ? frame[1] - kTextFrameAddressOffset : frame[1];
  }
};

void ReportAnswer(Quillon& form, const Exchange& exchange, const Received& received, Judgement judgement) {
  form.Report(AnswerReceived{exchange.Controller(), judgement, received.bytes, received.delay});
}

/// Waits up to `timeout` seconds for a first byte, pauses, and reads what was received by then. After an echo
/// the answer gets the whole wait again; an echo that arrived past the deadline is returned as what was
/// received.
Wait AwaitAnswer(Quillon& form, const Exchange& exchange, double timeout, Received& received) {
  for (;;) {
    const double begin = form.clock.Now();
    const double deadline = begin + timeout;
    if (AwaitFirstByte(form, deadline) == Wait::kCancelled) return Wait::kCancelled;
    const double waited = form.clock.Now();
    form.run.Yield();
    form.clock.SleepUntil(waited + form.AnswerDelay);
    received = {form.MSComm1.Input(), waited - begin};
    if (received.bytes != exchange.frame) return Wait::kOver;
    ReportAnswer(form, exchange, received, Judgement::kEcho);
    if (form.clock.Now() >= deadline) return Wait::kOver;
  }
}

/// The result of one send. A checked answer is stored in `answer` as hex digits; the short one is not.
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
    // The operator wants the run to end: nothing is sent again, and there is no outcome to log.
    if (AwaitAnswer(form, exchange, timeout, received) == Wait::kCancelled) return ExchangeResult::kNoAnswer;
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
