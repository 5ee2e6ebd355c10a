#include "log/log_story.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <optional>

#include "forms/quillon.h"
#include "link/exchange.h"
#include "link/log_lines.h"
#include "link/text_arithmetic.h"
#include "platform/text_file.h"

namespace quillon {
namespace {

/// How the other lines of the tool begin: titles, and how a command read an answer. The frames say it all.
constexpr std::string_view kPassedOver[] = {"Message ", "Answer : ", "Programming ", "******** "};

/// The bytes of a byte text; nothing for any other text.
std::optional<Bytes> ReadByteText(std::string_view text) {
  Bytes bytes;
  for (; !text.empty(); text.remove_prefix(std::min<std::size_t>(text.size(), 3))) {
    const bool pair = text.size() >= 2 && std::isxdigit(static_cast<unsigned char>(text[0])) != 0 &&
                      std::isxdigit(static_cast<unsigned char>(text[1])) != 0;
    if (!pair || (text.size() > 2 && text[2] != ' ')) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(HexToNumber(text.substr(0, 2))));
  }
  if (bytes.empty()) return std::nullopt;
  return bytes;
}

/// A strange line as it can be shown: short, and without what would confuse a terminal.
std::string Harmless(std::string_view line) {
  constexpr std::size_t kShown = 60;
  std::string shown(line.substr(0, kShown));
  for (char& c : shown) c = std::isprint(static_cast<unsigned char>(c)) != 0 ? c : '?';
  return "\"" + shown + (line.size() > kShown ? "...\"" : "\"");
}

bool IsWholeFrame(std::string_view line) {
  const auto bytes = ReadByteText(line);
  return bytes && ReadFrame(*bytes).question != Question::kUnknown;
}

class Reader {
 public:
  LogStory Read(std::string_view text) {
    const bool cut = !text.empty() && text.back() != '\n' && text.back() != '\r';
    for (LineReader lines(text); !lines.AtEnd();) {
      const std::string line(lines.Next());
      ++story_.lines;
      const bool last = lines.AtEnd() && cut;
      if (last) Note("the log is cut in this line: " + Harmless(line));
      if (!last || IsWholeFrame(line)) Take(line);
    }
    return std::move(story_);
  }

 private:
  void Take(const std::string& line) {
    const std::string_view received = kReceivedLog;
    const bool isReceived = line.starts_with(received);
    const auto bytes = ReadByteText(std::string_view(line).substr(isReceived ? received.size() : 0));
    if (bytes && isReceived) return TakeAnswer(*bytes);
    if (bytes) return Begin(ReadFrame(*bytes), *bytes);
    if (line == kDetectionLog) return BeginDetection();
    for (const auto result : {ExchangeResult::kAnswered, ExchangeResult::kNoAnswer,
                              ExchangeResult::kBadAnswer, ExchangeResult::kRefused}) {
      if (line == ExchangeResultText(result)) return End(result);
    }
    const auto begins = [&](std::string_view words) { return line.starts_with(words); };
    if (!line.empty() && std::ranges::none_of(kPassedOver, begins))
      Note("the tool writes no such line: " + Harmless(line));
  }

  void Note(const std::string& words) { story_.strange.push_back({story_.lines, {}, words, true}); }

  void Begin(Asked asked, const Bytes& frame) {
    const bool doubtful = asked.question == Question::kUnknown;
    LoggedMessage message;
    message.asked = std::move(asked);
    message.frame = frame;
    message.lines.push_back({story_.lines, frame, message.asked.words, doubtful});
    if (message.asked.controller == kAllControllers) message.outcome = Outcome::kSent;
    story_.messages.push_back(std::move(message));
    BeginExchange();
    exchangeEnded_ = false;
  }

  void BeginExchange() {
    heard_ = {};
    damaged_ = 0;
  }

  /// The log does not say whom an auto detection asks, but the order does: each number at each speed, from 0
  /// up, and the next one as soon as one has answered.
  void BeginDetection() {
    const LoggedMessage* last = story_.messages.empty() ? nullptr : &story_.messages.back();
    if (last == nullptr || last->asked.question != Question::kDetection ||
        last->outcome == Outcome::kUnfinished) {
      detected_ = attempts_ = 0;
    } else if (last->answered > 0 || attempts_ == static_cast<int>(std::size(kSpeeds))) {
      attempts_ = 0;
      detected_ = (detected_ + 1) % kControllers;
    }
    ++attempts_;
    Begin({Question::kDetection, detected_,
           "asks who is there, by the order of the log controller " + std::to_string(detected_)},
          {});
  }

  /// The message that a line belongs to; where the log begins in the middle of one, one without its question.
  LoggedMessage& Current() {
    if (story_.messages.empty()) Begin({Question::kUnknown, kNoController, "the question is cut off"}, {});
    LoggedMessage& message = story_.messages.back();
    if (exchangeEnded_) ++message.repeated;  // one more exchange of the same message
    exchangeEnded_ = false;
    return message;
  }

  void TakeAnswer(const Bytes& bytes) {
    LoggedMessage& message = Current();
    heard_ = ReadAnswer(message.asked.question, message.frame, bytes);
    const bool doubtful = heard_.verdict == Verdict::kDamaged || heard_.verdict == Verdict::kOtherLength;
    message.lines.push_back({story_.lines, bytes, heard_.words, doubtful});
    if (heard_.verdict == Verdict::kDamaged) ++damaged_;
  }

  void End(ExchangeResult result) {
    LoggedMessage& message = Current();
    switch (result) {
      case ExchangeResult::kAnswered:
        EndAnswered(message);
        break;
      case ExchangeResult::kNoAnswer:
        Fail(message, Outcome::kSilent, "no answer");
        break;
      case ExchangeResult::kBadAnswer:
        Fail(message, Outcome::kDamaged, "no good answer");
        break;
      case ExchangeResult::kRefused:
        message.outcome = Outcome::kRefused;
        return;  // a word about the exchanges that ended before it
    }
    BeginExchange();
    exchangeEnded_ = true;
  }

  void EndAnswered(LoggedMessage& message) {
    ++message.answered;
    message.repeated += damaged_;
    if (heard_.verdict == Verdict::kRefused) ++message.refused;
    if (heard_.facts) message.facts = *heard_.facts;
    message.outcome = heard_.verdict == Verdict::kGood      ? Outcome::kGood
                      : heard_.verdict == Verdict::kRefused ? Outcome::kRefused
                                                            : Outcome::kOtherLength;
  }

  void Fail(LoggedMessage& message, Outcome outcome, const std::string& words) {
    message.outcome = outcome;
    message.repeated += kSends - 1;
    message.lines.push_back({story_.lines, {}, words + ", sent " + std::to_string(kSends) + " times"});
  }

  LogStory story_;
  Heard heard_;      // since the last end of an exchange
  int damaged_ = 0;  // answers since then
  bool exchangeEnded_ = false;
  int detected_ = 0;
  int attempts_ = 0;
};

}  // namespace

LogStory ReadLog(std::string_view text) { return Reader().Read(text); }

}  // namespace quillon
