#include "log/telling.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <vector>

#include "link/text_arithmetic.h"
#include "log/log_story.h"
#include "log/runs.h"

namespace quillon {
namespace {

const char* Name(RunKind kind) {
  switch (kind) {
    case RunKind::kDownload:
      return "a download that ended while erasing";
    case RunKind::kParallelDownload:
      return "parallel download";
    case RunKind::kSerialDownload:
      return "serial download";
    case RunKind::kFlashInfo:
      return "Flash Info";
    case RunKind::kBootInfo:
      return "Boot Info";
    case RunKind::kDetection:
      return "auto detection";
    case RunKind::kToProtocol4:
      return "move to protocol 4";
    case RunKind::kToProtocol3:
      return "move back to protocol 3";
    case RunKind::kUnknown:
      break;
  }
  return "a run that can't be made out";
}

const char* Name(Question question) {
  switch (question) {
    case Question::kErase:
      return "erase";
    case Question::kBatch:
      return "batch";
    case Question::kFullChecksum:
      return "checksum";
    case Question::kToProtocol4:
    case Question::kToProtocol3:
      return "move";
    case Question::kUnknown:
      return "message";
    default:
      return "check";
  }
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
  return "no end in the log: cancelled, the line failed, or the log is cut";
}

std::string Name(int controller) {
  if (controller == kAllControllers) return "all";
  return controller == kNoController ? "?" : std::to_string(controller);
}

/// All bytes of a short frame; of a long one the first and the last, since its data says little to anyone.
std::string Shown(const Bytes& bytes) {
  constexpr std::size_t kShown = 18;
  constexpr std::size_t kFirst = 11;
  constexpr std::size_t kLast = 3;
  if (bytes.size() <= kShown) return ByteArrayToHex(bytes);
  return ByteArrayToHex(std::span(bytes).first(kFirst)) + "... " +
         ByteArrayToHex(std::span(bytes).last(kLast));
}

std::string WithoutTrailingBlank(std::string text) {
  if (text.ends_with(' ')) text.pop_back();
  return text;
}

std::string Words(const Told& told) {
  return told.bytes.empty() ? told.words : WithoutTrailingBlank(Shown(told.bytes)) + ": " + told.words;
}

/// The controllers of a run in the order of their first messages.
std::vector<int> ControllersOf(const Run& run) {
  std::vector<int> controllers;
  for (const LoggedMessage& message : run.messages) {
    const int controller = message.asked.controller;
    if (std::ranges::find(controllers, controller) == controllers.end()) controllers.push_back(controller);
  }
  return controllers;
}

/// How it stands with a controller after its last message of a run.
std::string Standing(const LoggedMessage& last) {
  if (last.outcome == Outcome::kGood && !last.facts.version.empty()) return last.lines.back().words;
  return std::string(Name(last.asked.question)) + ": " + Name(last.outcome);
}

class Teller {
 public:
  std::string Tell(std::string_view log, Detail detail) {
    const LogStory story = ReadLog(log);
    const std::vector<Run> runs = FindRuns(story.messages);
    Say(std::to_string(runs.size()) + (runs.size() == 1 ? " run in " : " runs in ") +
        std::to_string(story.lines) + " lines");
    for (std::size_t n = 0; n < runs.size(); ++n) Summarize(runs[n], n + 1);
    ListDoubts(runs, story.strange);
    if (detail == Detail::kEverything) {
      for (std::size_t n = 0; n < runs.size(); ++n) TellRun(runs[n], n + 1);
    }
    return std::move(text_);
  }

 private:
  void Say(const std::string& line) { text_ += line + '\n'; }

  void SayHead(const Run& run, std::size_t number) {
    Say("");
    Say("Run " + std::to_string(number) + ", lines " +
        std::to_string(run.messages.front().lines.front().line) + " to " +
        std::to_string(run.messages.back().lines.back().line) + ": " + Name(run.kind));
  }

  void Summarize(const Run& run, std::size_t number) {
    SayHead(run, number);
    SayRow("controller", "asked", "answered", "repeated", "refused", "stands at");
    for (const int controller : ControllersOf(run)) {
      int asked = 0, answered = 0, repeated = 0, refused = 0;
      std::size_t data = 0;
      const LoggedMessage* last = nullptr;
      for (const LoggedMessage& message : run.messages) {
        if (message.asked.controller != controller) continue;
        ++asked;
        answered += message.answered;
        repeated += message.repeated;
        refused += message.refused;
        data += message.asked.dataBytes;
        last = &message;
      }
      const bool all = controller == kAllControllers;
      SayRow(Name(controller), std::to_string(asked), all ? "-" : std::to_string(answered),
             all ? "-" : std::to_string(repeated), all ? "-" : std::to_string(refused),
             all ? std::to_string(data) + " bytes of the image, which nobody answers" : Standing(*last));
    }
  }

  void SayRow(const std::string& controller, const std::string& asked, const std::string& answered,
              const std::string& repeated, const std::string& refused, const std::string& standing) {
    constexpr std::size_t kLongestRow = 200;
    char row[kLongestRow];
    std::snprintf(row, sizeof row, "  %10s %6s %9s %9s %8s  %s", controller.c_str(), asked.c_str(),
                  answered.c_str(), repeated.c_str(), refused.c_str(), standing.c_str());
    Say(row);
  }

  void ListDoubts(const std::vector<Run>& runs, const std::vector<Told>& strange) {
    std::vector<std::pair<std::size_t, std::string>> doubts;
    const auto add = [&](const Told& told, const std::string& where) {
      if (told.doubtful)
        doubts.emplace_back(told.line, "line " + std::to_string(told.line) + where + ": " + Words(told));
    };
    for (const Told& told : strange) add(told, "");
    for (std::size_t n = 0; n < runs.size(); ++n) {
      for (const LoggedMessage& message : runs[n].messages) {
        const std::string where =
            ", run " + std::to_string(n + 1) + ", controller " + Name(message.asked.controller);
        for (const Told& told : message.lines) add(told, where);
      }
    }
    std::ranges::sort(doubts);
    Say("");
    Say(doubts.empty() ? "Doubtful places: none" : "Doubtful places: " + std::to_string(doubts.size()));
    for (const auto& [line, words] : doubts) Say("  " + words);
  }

  void TellRun(const Run& run, std::size_t number) {
    SayHead(run, number);
    for (const int controller : ControllersOf(run)) {
      Say(controller == kAllControllers ? "  All controllers" : "  Controller " + Name(controller));
      for (const LoggedMessage& message : run.messages) {
        if (message.asked.controller == controller) TellMessage(message);
      }
    }
  }

  void TellMessage(const LoggedMessage& message) {
    for (const Told& told : message.lines) {
      constexpr std::size_t kLineDigits = 6;
      const std::string line = std::to_string(told.line);
      const std::string padding(line.size() < kLineDigits ? kLineDigits - line.size() : 0, ' ');
      const bool question = &told == &message.lines.front();
      Say((told.doubtful ? "  ! " : "    ") + padding + line + (question ? "  " : "    ") + Words(told));
    }
    if (message.outcome == Outcome::kUnfinished) Say("              " + std::string(Name(message.outcome)));
  }

  std::string text_;
};

}  // namespace

std::string TellLog(std::string_view log, Detail detail) { return Teller().Tell(log, detail); }

}  // namespace quillon
