// Explains a log, so that a technician sees which controller failed, at which line and how: a summary with a
// row for each run and controller, the doubtful lines, and all messages decoded. main.cpp shows a sample.
#include "log/log_report.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iomanip>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "link/exchange.h"
#include "link/text_arithmetic.h"
#include "log/doubts.h"
#include "log/log_parser.h"
#include "log/runs.h"

namespace quillon {
namespace {

const char* Name(LoggedRunKind kind) {
  switch (kind) {
    case LoggedRunKind::kDownload:
      return "a download that ended while erasing";
    case LoggedRunKind::kParallelDownload:
      return "parallel download";
    case LoggedRunKind::kSerialDownload:
      return "serial download";
    case LoggedRunKind::kFlashInfo:
      return "Flash Info";
    case LoggedRunKind::kBootInfo:
      return "Boot Info";
    case LoggedRunKind::kDetection:
      return "auto detection";
    case LoggedRunKind::kToProtocol4:
      return "move to protocol 4";
    case LoggedRunKind::kToProtocol3:
      return "move back to protocol 3";
    case LoggedRunKind::kUnknown:
      break;
  }
  return "a run of an unknown kind";
}

const char* Name(RequestKind request) {
  switch (request) {
    case RequestKind::kErase:
      return "erase";
    case RequestKind::kBatch:
      return "batch";
    case RequestKind::kFullChecksum:
      return "checksum";
    case RequestKind::kToProtocol4:
    case RequestKind::kToProtocol3:
      return "move";
    case RequestKind::kFlashCheck:
    case RequestKind::kDetection:
    case RequestKind::kBootCheck:
      return "check";
    case RequestKind::kUnknown:
      break;
  }
  return "message";
}

const char* Name(Outcome outcome) {
  switch (outcome) {
    case Outcome::kSent:
      return "sent";
    case Outcome::kGood:
      return "accepted";
    case Outcome::kRefused:
      return "refused";
    case Outcome::kOtherLength:
      return "answers of a wrong length";
    case Outcome::kDamaged:
      return "damaged answers";
    case Outcome::kSilent:
      return "no answer";
    case Outcome::kUnfinished:
      break;
  }
  return "not finished: cancelled, the line failed, or the log is cut";
}

std::string ControllerName(int controller) {
  if (controller == kAllControllers) return "all";
  return controller == kNoController ? "?" : std::to_string(controller);
}

/// All bytes of a short frame. Of a long one the first and the last, without most of the image data.
std::string Abbreviate(const Bytes& bytes) {
  constexpr std::size_t kLongestWholeFrame = 18;
  constexpr std::size_t kFirstBytes = 11;  // the header of a batch and two data bytes
  constexpr std::size_t kLastBytes = 3;    // CRC and end byte
  std::string text = bytes.size() <= kLongestWholeFrame
                         ? ByteArrayToHex(bytes)
                         : ByteArrayToHex(std::span(bytes).first(kFirstBytes)) + "... " +
                               ByteArrayToHex(std::span(bytes).last(kLastBytes));
  if (text.ends_with(' ')) text.pop_back();
  return text;
}

/// The beginning of a line that the tool did not write, without characters that a terminal would interpret.
std::string Printable(std::string_view line) {
  constexpr std::size_t kShown = 60;
  std::string shown(line.substr(0, kShown));
  for (char& c : shown) c = std::isprint(static_cast<unsigned char>(c)) != 0 ? c : '?';
  return "\"" + shown + (line.size() > kShown ? "...\"" : "\"");
}

/// What the answer in an entry means, and how its checksum compares with the one that was sent.
std::string DescribeAnswer(const ParsedLog& log, const LoggedMessage& message, const LogEntry& entry) {
  const Answer answer = AnswerOf(log, message, entry);
  const auto note = log.notes.find(entry.offset);
  const std::string doubt = note == log.notes.end() ? "" : "; " + note->second;
  if (message.checksum == ChecksumMatch::kNotCompared || answer.verdict != AnswerVerdict::kGood)
    return answer.description + doubt;
  const bool same = message.checksum == ChecksumMatch::kSame;
  return answer.description + (same ? ", as sent" : ", NOT the checksum that was sent") + doubt;
}

/// The text about an entry in the list of doubtful places and in the list of messages.
std::string Describe(const ParsedLog& log, const LoggedMessage& message, const LogEntry& entry) {
  const std::string sent = ", sent " + std::to_string(kSends) + " times";
  const Bytes bytes = BytesOf(log, entry);
  switch (entry.kind) {
    case EntryKind::kRequest:
      return Abbreviate(bytes) + ": " + ParseRequest(bytes).description;
    case EntryKind::kDetection:
      return "auto detection: asks controller " + std::to_string(message.controller) +
             ", by the order of the log";
    case EntryKind::kMissingRequest:
      return "the request is cut off";
    case EntryKind::kAnswer:
      return Abbreviate(bytes) + ": " + DescribeAnswer(log, message, entry);
    case EntryKind::kNoAnswer:
      return "no answer" + sent;
    case EntryKind::kNoGoodAnswer:
      return "no good answer" + sent;
    case EntryKind::kForeignLine:
      return "not a line of the tool: " + Printable(LineOf(log, entry));
    case EntryKind::kCutLine:
      break;
  }
  return "the log is cut in this line: " + Printable(LineOf(log, entry));
}

/// Used for the lines before the first message.
constexpr LoggedMessage kNoMessage{.firstEntry = 0};

bool BelongsToMessage(const LogEntry& entry) {
  return entry.kind != EntryKind::kForeignLine && entry.kind != EntryKind::kCutLine;
}

/// The messages of a run to one controller, summed up.
struct Totals {
  int controller;
  std::size_t requests = 0;
  std::size_t answered = 0;
  std::size_t repeated = 0;
  std::size_t refused = 0;
  std::size_t dataBytes = 0;  // image bytes in broadcast batches
  const LoggedMessage* last = nullptr;
};

/// The totals of a run in the order of the first messages.
std::vector<Totals> SumUp(const ParsedLog& log, const Run& run) {
  std::vector<Totals> totals;
  for (std::size_t n = run.first; n < run.end; ++n) {
    const LoggedMessage& message = log.messages[n];
    auto sum = std::ranges::find(totals, message.controller, &Totals::controller);
    if (sum == totals.end()) sum = totals.insert(sum, {.controller = message.controller});
    ++sum->requests;
    sum->answered += message.answered;
    sum->repeated += message.repeated;
    sum->refused += message.refused;
    if (message.controller == kAllControllers)
      sum->dataBytes += ParseRequest(BytesOf(log, log.entries[message.firstEntry])).dataBytes;
    sum->last = &message;
  }
  return totals;
}

/// The state of a controller after its last message of a run: version and checksum if it was read, else the
/// command and its result.
std::string StateText(const ParsedLog& log, const LoggedMessage& last) {
  const auto lastGoodEntry = last.outcome == Outcome::kGood ? LastGoodAnswer(log, last) : std::nullopt;
  if (lastGoodEntry && AnswerOf(log, last, log.entries[*lastGoodEntry]).facts)
    return DescribeAnswer(log, last, log.entries[*lastGoodEntry]);
  return std::string(Name(last.request)) + ": " + Name(last.outcome);
}

class ReportWriter {
 public:
  ReportWriter(std::string_view text, std::ostream& out)
      : log_(ParseLog(text)), runs_(FindRuns(log_)), out_(out) {
    MarkDoubts(log_, runs_);
  }

  void Write(Detail detail) {
    out_ << runs_.size() << (runs_.size() == 1 ? " run in " : " runs in ") << log_.lines << " lines\n";
    for (const Run& run : runs_) WriteSummary(run);
    WriteDoubtfulPlaces();
    if (detail != Detail::kEverything) return;
    for (const Run& run : runs_) WriteMessages(run);
  }

 private:
  std::size_t NumberOf(const Run& run) const { return static_cast<std::size_t>(&run - runs_.data()) + 1; }

  void WriteTitle(const Run& run) {
    const LoggedMessage& last = log_.messages[run.end - 1];
    std::size_t end = EndOfEntries(log_, last);
    while (!BelongsToMessage(log_.entries[end - 1])) --end;
    out_ << "\nRun " << NumberOf(run) << ", lines " << log_.entries[log_.messages[run.first].firstEntry].line
         << " to " << log_.entries[end - 1].line << ": " << Name(run.kind) << '\n';
  }

  void WriteSummary(const Run& run) {
    WriteTitle(run);
    WriteRow("controller", "asked", "answered", "repeated", "refused", "state");
    for (const Totals& sum : SumUp(log_, run)) {
      const std::string requests = std::to_string(sum.requests);
      if (sum.controller == kAllControllers) {
        WriteRow("all", requests, "-", "-", "-",
                 std::to_string(sum.dataBytes) + " bytes of the image, without answers");
      } else {
        WriteRow(ControllerName(sum.controller), requests, std::to_string(sum.answered),
                 std::to_string(sum.repeated), std::to_string(sum.refused), StateText(log_, *sum.last));
      }
    }
  }

  void WriteRow(const std::string& controller, const std::string& requests, const std::string& answered,
                const std::string& repeated, const std::string& refused, const std::string& state) {
    constexpr std::size_t kLongestColumns = 200;
    char columns[kLongestColumns];
    std::snprintf(columns, sizeof columns, "  %10s %6s %9s %9s %8s  ", controller.c_str(), requests.c_str(),
                  answered.c_str(), repeated.c_str(), refused.c_str());
    out_ << columns << state << '\n';
  }

  void WriteDoubtfulPlaces() {
    const auto doubts = std::ranges::count_if(log_.entries, &LogEntry::doubtful);
    out_ << "\nDoubtful places: ";
    if (doubts == 0) {
      out_ << "none\n";
    } else {
      out_ << doubts << '\n';
    }
    std::size_t messagesBegun = 0;  // at or before the entry: the last of them contains it
    auto run = runs_.begin();       // the run of that message
    for (std::size_t n = 0; n < log_.entries.size(); ++n) {
      while (messagesBegun < log_.messages.size() && log_.messages[messagesBegun].firstEntry <= n)
        ++messagesBegun;
      while (messagesBegun > 0 && run->end < messagesBegun) ++run;
      const LogEntry& entry = log_.entries[n];
      if (!entry.doubtful) continue;
      const LoggedMessage& message = messagesBegun > 0 ? log_.messages[messagesBegun - 1] : kNoMessage;
      out_ << "  line " << entry.line;
      if (BelongsToMessage(entry))
        out_ << ", run " << NumberOf(*run) << ", controller " << ControllerName(message.controller);
      out_ << ": " << Describe(log_, message, entry) << '\n';
    }
  }

  void WriteMessages(const Run& run) {
    WriteTitle(run);
    for (const Totals& sum : SumUp(log_, run)) {
      const bool all = sum.controller == kAllControllers;
      out_ << (all ? "  All controllers" : "  Controller " + ControllerName(sum.controller)) << '\n';
      for (std::size_t n = run.first; n < run.end; ++n) {
        if (log_.messages[n].controller == sum.controller) WriteMessage(log_.messages[n]);
      }
    }
  }

  void WriteMessage(const LoggedMessage& message) {
    const std::size_t end = EndOfEntries(log_, message);
    for (std::size_t n = message.firstEntry; n < end; ++n) {
      const LogEntry& entry = log_.entries[n];
      if (!BelongsToMessage(entry)) continue;
      constexpr int kLineDigits = 6;
      out_ << (entry.doubtful ? "  ! " : "    ") << std::setw(kLineDigits) << entry.line
           << (n == message.firstEntry ? "  " : "    ") << Describe(log_, message, entry) << '\n';
    }
    if (message.outcome == Outcome::kUnfinished) out_ << "              " << Name(message.outcome) << '\n';
  }

  ParsedLog log_;
  std::vector<Run> runs_;
  std::ostream& out_;
};

}  // namespace

void WriteLogReport(std::string_view log, Detail detail, std::ostream& out) {
  ReportWriter(log, out).Write(detail);
}

}  // namespace quillon
