// quillon-explore: every combination of a few events on the line, in every run.
//
// A run without events sends a certain number of frames. The exploration repeats the run with each event at
// each frame; for each of these runs with a second event at each later frame; and so on up to a number of
// events. After each run the program's verdicts are compared with the controllers' flash. Runs with fewer
// events come first, so the first violation found is the shortest.
//
//     quillon-explore --events 2            all runs with up to two events
//     quillon-explore parallel 3:late 5:cancel    one run, as printed of a violation
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "explored_run.h"

namespace quillon::explore {
namespace {

std::string Describe(const Way& way, const Choices& choices) {
  std::string words = way.name;
  for (const auto& [frame, event] : choices) words += " " + std::to_string(frame) + ":" + NameOf(event);
  return words;
}

/// Whether an event makes sense at a frame: a broadcast has no answer.
bool Possible(bool broadcast, Event event) {
  switch (event) {
    case Event::kFrameLost:
    case Event::kDeviceFails:
    case Event::kCancel:
    case Event::kClose:
      return true;
    case Event::kLostForOne:
      return broadcast;
    default:
      return !broadcast;
  }
}

/// All runs of one way, up to the first violation.
class Exploration {
 public:
  Exploration(const Way& way, int events, std::string folder)
      : way_(way), folder_(std::move(folder)), worker_([this, events] { ExploreUpTo(events); }) {}

  /// Waits for the end, and prints what came of it. Returns whether there was no violation.
  bool Finish(long& runs) {
    worker_.join();
    std::printf("%-16s %9ld runs%s\n", way_.name, runs_, violation_.empty() ? "" : ", VIOLATION:");
    if (!violation_.empty()) std::printf("  %s\n", violation_.c_str());
    runs += runs_;
    return violation_.empty();
  }

 private:
  void ExploreUpTo(int events) {
    for (int count = 0; violation_.empty() && count <= events; ++count) Extend({}, 0, count);
  }

  /// Runs with `choices` and with `events` more of them, from frame `first` on.
  void Extend(const Choices& choices, int first, int events) {
    ExploredRun run(way_, choices, folder_);
    const std::string violation = run.Violation();
    if (events == 0) {
      ++runs_;
      if (!violation.empty()) violation_ = Describe(way_, choices) + ": " + violation;
      return;
    }
    for (int frame = first; frame < run.FramesSent(); ++frame) {
      for (int event = 1; event < kEvents; ++event) {
        if (!Possible(run.IsBroadcast(frame), static_cast<Event>(event))) continue;
        Choices more = choices;
        more[frame] = static_cast<Event>(event);
        Extend(more, frame + 1, events - 1);
        if (!violation_.empty()) return;
      }
    }
  }

  const Way& way_;
  std::string folder_;
  long runs_ = 0;
  std::string violation_;
  std::thread worker_;  // starts last: it uses all members above
};

bool ExploreAll(int events, const std::string& folder) {
  const auto begin = std::chrono::steady_clock::now();
  std::deque<Exploration> explorations;
  for (const Way& way : kWays) explorations.emplace_back(way, events, folder);
  bool good = true;
  long runs = 0;
  for (Exploration& exploration : explorations) good = exploration.Finish(runs) && good;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  std::printf("%ld runs with up to %d events in %.1f s\n", runs, events, seconds.count());
  return good;
}

/// "3:late" as a choice.
void AddChoice(Choices& choices, const std::string& word) {
  for (int event = 0; event < kEvents; ++event) {
    const std::string name = std::string(":") + NameOf(static_cast<Event>(event));
    if (!word.ends_with(name)) continue;
    choices[std::stoi(word.substr(0, word.size() - name.size()))] = static_cast<Event>(event);
    return;
  }
  throw CLI::ValidationError(word, "is not an event; write FRAME:EVENT, such as 3:late");
}

bool Replay(const std::vector<std::string>& words, const std::string& folder) {
  const auto way = std::ranges::find_if(kWays, [&](const Way& one) { return one.name == words.front(); });
  if (way == kWays.end()) throw CLI::ValidationError(words.front(), "is not a run");
  Choices choices;
  for (std::size_t i = 1; i < words.size(); ++i) AddChoice(choices, words[i]);
  ExploredRun run(*way, choices, folder);
  const std::string violation = run.Violation();
  if (violation.empty() && !choices.empty() && choices.rbegin()->first >= run.FramesSent()) {
    std::printf("the run sends only %d frames\n", run.FramesSent());
    return false;
  }
  std::printf("%s: %s\n", Describe(*way, choices).c_str(),
              violation.empty() ? "no violation" : violation.c_str());
  return violation.empty();
}

}  // namespace
}  // namespace quillon::explore

int main(int argc, char** argv) {
  CLI::App app("Explores every combination of a few events on the line, in every run of the tool.");
  int events = 2;
  std::vector<std::string> run;
  app.add_option("--events", events, "up to so many events in one run")->check(CLI::Range(0, 9));
  app.add_option("RUN", run, "one run and its events, as printed of a violation");
  try {
    app.parse(argc, argv);
    const quillon::test::FakeComputer place;  // its folder goes with it
    quillon::explore::WriteImage(place.folder);
    const bool good = run.empty() ? quillon::explore::ExploreAll(events, place.folder)
                                  : quillon::explore::Replay(run, place.folder);
    return good ? 0 : 1;
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
}
