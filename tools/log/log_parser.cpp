// Parses a log of the tool into messages. A message is a request with all that followed it:
//
//     Message : $74                          ignored: the frame contains the same
//     40 02 04 74 55 AA F0 FF BA 04          begins a message
//     Recu en String : 40 02 01 61 ...       an answer; after a damaged one the frame is sent again
//     Communication OK  - CRC checked        ends an exchange
//
// An exchange is a frame that is sent until an intact answer is received, up to three times. The tool repeats
// an exchange whose answer is a refusal, so a message can have up to three exchanges. link/log_lines.h
// defines these lines. A log may begin or end anywhere.
#include "log/log_parser.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

#include "forms/quillon.h"
#include "link/exchange.h"
#include "link/log_lines.h"
#include "link/text_arithmetic.h"
#include "platform/text_file.h"

namespace quillon {
namespace {

/// The beginnings of lines that are ignored, because the frames contain the same: titles, and how a command
/// read an answer.
constexpr std::string_view kIgnoredLines[] = {"Message ", "Answer : ", "Programming ", "******** "};

/// The bytes of a text such as "40 02 04" or "40 02 04 "; nothing for any other text.
std::optional<Bytes> ParseByteText(std::string_view text) {
  Bytes bytes;
  for (; !text.empty(); text.remove_prefix(std::min<std::size_t>(text.size(), 3))) {
    const bool pair = text.size() >= 2 && std::isxdigit(static_cast<unsigned char>(text[0])) != 0 &&
                      std::isxdigit(static_cast<unsigned char>(text[1])) != 0;
    if (!pair || (text.size() > 2 && text[2] != ' ')) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(HexDigit(text[0]) * 16 + HexDigit(text[1])));
  }
  if (bytes.empty()) return std::nullopt;
  return bytes;
}

std::string_view WithoutReceivedTitle(std::string_view line) {
  const std::string_view title = kReceivedLog;
  return line.starts_with(title) ? line.substr(title.size()) : line;
}

/// Reads the lines one by one. The members after `log_` describe the message that the current line belongs
/// to.
class Parser {
 public:
  explicit Parser(std::string_view text) { log_.text = text; }

  ParsedLog Parse() {
    const std::string_view text = log_.text;
    const bool cut = !text.empty() && text.back() != '\n' && text.back() != '\r';
    for (LineReader lines(text); !lines.AtEnd();) {
      const std::string_view line = lines.Next();
      offset_ = static_cast<std::uint32_t>(line.data() - text.data());
      ++log_.lines;
      if (lines.AtEnd() && cut) {
        AddEntry(EntryKind::kCutLine, true);
        if (!IsWholeFrame(line)) break;
      }
      ParseLine(line);
    }
    return std::move(log_);
  }

 private:
  static bool IsWholeFrame(std::string_view line) {
    const auto bytes = ParseByteText(line);
    return bytes && ParseRequest(*bytes).kind != RequestKind::kUnknown;
  }

  void ParseLine(std::string_view line) {
    const std::string_view text = WithoutReceivedTitle(line);
    if (const auto bytes = ParseByteText(text)) {
      if (text.size() < line.size()) return AddAnswer(*bytes);
      return Begin(EntryKind::kRequest, ParseRequest(*bytes), *bytes);
    }
    if (line == kDetectionLog) return BeginDetection();
    // A line that ends an exchange has a fixed text for each result.
    for (const auto result : {ExchangeResult::kAnswered, ExchangeResult::kNoAnswer,
                              ExchangeResult::kBadAnswer, ExchangeResult::kRefused}) {
      if (line == ExchangeResultText(result)) return End(result);
    }
    const auto begins = [&](std::string_view title) { return line.starts_with(title); };
    if (!line.empty() && std::ranges::none_of(kIgnoredLines, begins)) AddEntry(EntryKind::kForeignLine, true);
  }

  void AddEntry(EntryKind kind, bool doubtful = false) {
    log_.entries.push_back({offset_, static_cast<std::uint32_t>(log_.lines), kind, doubtful});
  }

  void Begin(EntryKind kind, const Request& request, const Bytes& frame) {
    LoggedMessage message{.firstEntry = static_cast<std::uint32_t>(log_.entries.size())};
    message.request = request.kind;
    message.controller = static_cast<std::int8_t>(request.controller);
    if (request.controller == kAllControllers) message.outcome = Outcome::kSent;
    log_.messages.push_back(message);
    AddEntry(kind, request.kind == RequestKind::kUnknown);
    frame_ = frame;
    BeginExchange();
    exchangeEnded_ = false;
  }

  void BeginExchange() {
    answer_ = {};
    damaged_ = 0;
  }

  /// The log does not show which controller an auto detection asks. The order does: each number at each
  /// speed, from 0 up, and the next one as soon as one has answered.
  void BeginDetection() {
    const LoggedMessage* last = log_.messages.empty() ? nullptr : &log_.messages.back();
    if (last == nullptr || last->request != RequestKind::kDetection ||
        last->outcome == Outcome::kUnfinished) {
      detected_ = attempts_ = 0;
    } else if (last->answered > 0 || attempts_ == static_cast<int>(std::size(kSpeeds))) {
      attempts_ = 0;
      detected_ = (detected_ + 1) % kControllers;
    }
    ++attempts_;
    Begin(EntryKind::kDetection, {RequestKind::kDetection, detected_, ""}, {});
  }

  /// The message that a line belongs to; where the log begins within one, a message without its request.
  LoggedMessage& Current() {
    if (log_.messages.empty()) Begin(EntryKind::kMissingRequest, {}, {});
    LoggedMessage& message = log_.messages.back();
    if (exchangeEnded_) ++message.repeated;  // one more exchange of the same message
    exchangeEnded_ = false;
    return message;
  }

  void AddAnswer(const Bytes& bytes) {
    answer_ = ParseAnswer(Current().request, frame_, bytes);
    const bool damaged = answer_.verdict == AnswerVerdict::kDamaged;
    AddEntry(EntryKind::kAnswer, damaged || answer_.verdict == AnswerVerdict::kOtherLength);
    if (damaged) ++damaged_;
  }

  void End(ExchangeResult result) {
    LoggedMessage& message = Current();
    switch (result) {
      case ExchangeResult::kAnswered:
        EndAnswered(message);
        break;
      case ExchangeResult::kNoAnswer:
        EndFailed(message, Outcome::kSilent, EntryKind::kNoAnswer);
        break;
      case ExchangeResult::kBadAnswer:
        EndFailed(message, Outcome::kDamaged, EntryKind::kNoGoodAnswer);
        break;
      case ExchangeResult::kRefused:
        message.outcome = Outcome::kRefused;
        return;  // it sums up the exchanges that ended before it
    }
    BeginExchange();
    exchangeEnded_ = true;
  }

  void EndAnswered(LoggedMessage& message) {
    ++message.answered;
    message.repeated += damaged_;
    if (answer_.verdict == AnswerVerdict::kRefused) ++message.refused;
    message.outcome = Outcome::kOtherLength;
    if (answer_.verdict == AnswerVerdict::kGood) message.outcome = Outcome::kGood;
    if (answer_.verdict == AnswerVerdict::kRefused) message.outcome = Outcome::kRefused;
  }

  void EndFailed(LoggedMessage& message, Outcome outcome, EntryKind kind) {
    message.outcome = outcome;
    message.repeated += kSends - 1;
    AddEntry(kind);
  }

  ParsedLog log_;
  std::uint32_t offset_ = 0;   // of the current line
  Bytes frame_;                // of the current message
  Answer answer_;              // since the last end of an exchange
  std::uint32_t damaged_ = 0;  // answers since then
  bool exchangeEnded_ = false;
  int detected_ = 0;  // controller that the auto detection asks
  int attempts_ = 0;  // speeds at which it was asked
};

}  // namespace

ParsedLog ParseLog(std::string_view text) { return Parser(text).Parse(); }

std::string_view LineOf(const ParsedLog& log, const LogEntry& entry) {
  LineReader lines(log.text.substr(entry.offset));
  return lines.AtEnd() ? std::string_view() : lines.Next();
}

Bytes BytesOf(const ParsedLog& log, const LogEntry& entry) {
  if (entry.kind != EntryKind::kRequest && entry.kind != EntryKind::kAnswer) return {};
  return ParseByteText(WithoutReceivedTitle(LineOf(log, entry))).value_or(Bytes{});
}

std::size_t EndOfEntries(const ParsedLog& log, const LoggedMessage& message) {
  const auto next =
      std::ranges::upper_bound(log.messages, message.firstEntry, {}, &LoggedMessage::firstEntry);
  return next == log.messages.end() ? log.entries.size() : next->firstEntry;
}

Answer AnswerOf(const ParsedLog& log, const LoggedMessage& message, const LogEntry& entry) {
  return ParseAnswer(message.request, BytesOf(log, log.entries[message.firstEntry]), BytesOf(log, entry));
}

std::optional<std::size_t> LastGoodAnswer(const ParsedLog& log, const LoggedMessage& message) {
  for (std::size_t n = EndOfEntries(log, message); n-- > message.firstEntry;) {
    const LogEntry& entry = log.entries[n];
    if (entry.kind != EntryKind::kAnswer) continue;
    if (AnswerOf(log, message, entry).verdict == AnswerVerdict::kGood) return n;
  }
  return std::nullopt;
}

}  // namespace quillon
