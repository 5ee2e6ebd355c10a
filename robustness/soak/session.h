#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/test_program.h"

namespace quillon::soak {

using namespace std::chrono_literals;
using test::Nanoseconds;
using Button = CommandButton Quillon::*;

class Session;

/// One action of the operator, or one event on the line.
struct Step {
  std::string words;  ///< for the report of a violation
  std::function<void(Session&)> act;
  Nanoseconds at{};
};

struct HexFile {
  std::string text;
  Bytes flash;  ///< of a controller that was loaded with it; empty: the file is damaged
};

/// A line with its controllers, the files of the program's folder, and the steps in the order of their time.
struct Scenario {
  std::uint64_t seed = 0;
  bus::LineOptions line{};
  std::vector<bus::ControllerSetup> controllers{};
  std::map<std::string, HexFile> files{};
  std::vector<Step> steps{};
};

/// The scenario of a seed, the same on every machine.
Scenario RandomScenario(std::uint64_t seed);

/// Rare states. A long soak must reach each of them, since it tests nothing else about them.
inline constexpr const char* kRareStates[] = {
    "checksum refused, read-back equal",
    "erase refused three times",
    "later send answered",
    "answer of another controller",
    "echo",
    "Cancel while a frame leaves",
    "Cancel in the pause of a failure",
    "main window closed in a run",
    "controller unticked in a run",
    "file replaced during a download",
    "device failed while controllers were erased",
    "controller left erased",
    "port left open by a failed run",
    "port taken by another program",
};

struct Counts {
  std::size_t runs = 0;
  std::set<std::string_view> reached{};  ///< rare states
};

/// One program from its start to its end, with the rules that are checked after each run and at the end. It
/// observes run events for the rare states alone: no rule depends on an event.
class Session : public test::TestProgram, private RunObserver {
 public:
  /// Adds to `counts`.
  Session(const Scenario& scenario, Counts& counts);

  /// Executes the steps. Returns the first violation of a rule, or "".
  std::string Play();

  // What steps do.
  void PressRun(Button button);
  void Cancel(bool byCloseBox);
  void Choose(const std::string& file);
  void Overwrite(const std::string& name, const std::string& byName);
  void PullAdapter(Nanoseconds duration);
  void TakePort(Nanoseconds duration);  ///< as another program does
  void AddNoise(Nanoseconds duration);
  void StallOutput(Nanoseconds duration);
  void RefuseAsOther();  ///< a controller that was not asked refuses

 private:
  /// The current or last run; what the controls showed when it began.
  struct Run {
    Button button = nullptr;
    std::vector<std::string> rows{};
    std::set<int> ticked{};            // at any time of the run
    std::set<int> alwaysTicked{};      // all the time
    std::set<const HexFile*> files{};  // that were chosen at any time of the run
    std::vector<int> failures{};       // numbers of the run-error boxes, known at its end
    std::size_t framesAtCancel = kNever;
    bool protocol3 = false;  // ticked at some time
    bool portTaken = false;  // by another program, at some time
    bool disturbed = false;  // output was stalled, or another controller answered
  };
  static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

  void FailLine();
  void ScheduleNextStep();
  void ScheduleEnd();
  void RecordChoices();
  void Violate(const std::string& rule);
  void Reach(const char* rareState) { counts_.reached.insert(rareState); }
  void OnRunEvent(const RunEvent& event) override;

  bool IsDownload() const { return run_.button == &Quillon::ComLoad || run_.button == &Quillon::ComLoad00; }
  bool Interrupted() const;
  std::string RowText(int y) const;

  void CheckRun();
  void CheckFrames();
  void CheckFramesAfterCancel();
  void CheckSends();
  void CheckErase();
  void CheckRow(int y);
  void CheckNewRow(int y);
  void CheckControls();
  void CheckEnd();
  void CheckLog();
  void CheckSettings();

  const Scenario& scenario_;
  Counts& counts_;
  bus::Bus bus_;
  std::size_t next_ = 0;  // step
  std::string violation_;
  Run run_;
  bool running_ = false;
  Nanoseconds pulledUntil_{};
  Nanoseconds takenUntil_{};
  bool lost_ = false;                                      // the adapter was pulled while its port was open
  std::set<int> present_;                                  // controllers on the line
  std::map<std::string, const HexFile*> contents_;         // of each file, by its name
  std::vector<std::vector<test::SentBytes>> framesToLog_;  // of each run
  std::set<std::string> answersToLog_;  // version and checksum of each good row, as the log shows them
  std::set<int> outdated_;  // rows that an interrupted run left as they were, and that may be wrong now

  // For the rare states.
  Nanoseconds stepAt_{};  // when the current step was due
  int send_ = 0;          // of the current exchange
  bool failureShown_ = false;
  bool programming_ = false;
  std::set<int> refused_;  // the full checksum
};

}  // namespace quillon::soak
