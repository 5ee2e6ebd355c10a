#pragma once

#include <array>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "forms/quillon.h"
#include "support/fake_computer.h"
#include "support/witness.h"

namespace quillon::soak {

using namespace std::chrono_literals;
using test::Nanoseconds;
using Button = CommandButton Quillon::*;

class Session;

/// One thing that the operator does, or that happens to the line.
struct Step {
  Nanoseconds at;
  std::string words;  ///< for the report of a broken session
  std::function<void(Session&)> act;
};

/// What a session begins with, and the steps of its operator in the order of their time.
struct Scenario {
  std::uint64_t seed = 0;
  bus::LineOptions line{};
  std::vector<bus::ControllerSetup> controllers;
  std::string settings;                      ///< "Quillon.cfg"
  std::map<std::string, std::string> files;  ///< HEX files in the program's folder
  std::map<std::string, Bytes> images;       ///< the flash that each good one of them makes
  std::vector<Step> steps;
};

/// A scenario as the seed has it.
Scenario Invent(std::uint64_t seed);

/// Rare states. A long soak that never reaches one of them does not test it.
enum class Probe {
  kRefusedButEqual,    // the controller refused the full checksum, and the read-back equals the file's
  kRefusedErase,       // three times
  kLaterSend,          // the second or third send of a frame got a good answer
  kOtherAnswered,      // a good answer names another controller
  kEcho,               // the frame came back before the answer
  kCancelInDrain,      // Cancel while bytes of a frame were still leaving
  kCancelInPause,      // Cancel while the status of a failure was shown
  kClosedInRun,        // the main window was closed
  kUntickedInRun,      // a controller that took part
  kImageReplaced,      // the chosen file changed during a download
  kFailedWhileErased,  // the device failed between two batches
  kErasedAndLeft,      // a download ended with an erased controller that got no batch
  kPortLeftOpen,       // by a failed run, and the next run begins
  kPortTaken,          // another program has the port when a run begins
  kCount
};
const char* NameOf(Probe probe);

/// How much was checked. A soak in which little happened proves little.
struct Counts {
  std::size_t runs = 0;
  std::size_t frames = 0;
  std::size_t cancelled = 0;
  std::size_t failed = 0;  // runs with a run-error box
  std::size_t goodRows = 0;
  std::array<std::size_t, static_cast<std::size_t>(Probe::kCount)> reached{};
  Counts& operator+=(const Counts& more);
};

/// One program from start to end: the operator goes through the steps, and what must never be is looked at
/// after each run and at the end.
class Session : private RunObserver {  // observes for the probes alone: no check depends on an event
 public:
  explicit Session(const Scenario& scenario);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Plays it. Returns what was broken first; empty when all was well.
  std::string Play();
  const Counts& Counted() const { return counts_; }

  // What steps do.
  void Press(Button button);
  void Cancel(bool byTheFrame);
  void Leave();
  void Tick(int number, bool ticked);
  void Choose(const std::string& file);
  void WriteFile(const std::string& name, const std::string& contents);
  void Overwrite(const std::string& name, const std::string& byName);
  void RemoveFile(const std::string& name);
  void PullAdapter(Nanoseconds howLong);
  void TakePort(Nanoseconds howLong);
  void AddNoise(std::uint64_t noiseSeed, Nanoseconds howLong);
  void StallOutput(Nanoseconds howLong);
  void RefuseAsOther();  ///< a controller that was not asked refuses: no row may show that as its own

  test::FakeComputer computer;
  bus::Bus bus;
  Quillon tool;

 private:
  /// What stood when a run began, to be held against what stands after it.
  struct Run {
    Button button = nullptr;
    std::size_t firstFrame = 0;
    std::size_t firstBox = 0;
    std::size_t framesAtCancel = kNever;
    std::size_t firstAnswer = 0;
    std::set<int> ticked{};          // at any time of the run
    std::set<int> alwaysTicked{};    // all the time
    std::set<std::string> images{};  // that the chosen file held at any time of the run
    std::vector<std::string> rows{};
    std::string timeOut;
    std::string speed;
    bool mayKeepSpeed = false;  // the file allowed it at some time
    bool protocol3 = false;     // ticked at some time
    bool portTaken = false;     // by another program, at some time
    bool disturbed = false;     // output was stalled, or another controller answered
  };
  static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

  void FailLine();
  void ArmNext();
  void EndAtLast();
  void Complain(const std::string& what);
  void NoteChoices();
  std::string RowText(int y) const;
  bool FailureShown(int number = 0) const;
  bool Interrupted() const;
  void Reach(Probe probe);
  void OnRunEvent(const RunEvent& event) override;
  void LookAfterRun();
  void LookAtSends();
  void LookAtErase();
  void LookAtFrames();
  void LookAtFramesAfterCancel();
  bool MayFollowCancel(std::size_t frame) const;
  void LookAtRows();
  void LookAtMark(int y);
  void LookAtFacts(int y, bool changed);
  void LookAtNewRow(int y);
  void LookAtControls();
  void LookAfterEnd();
  std::string ReadBack(const std::string& name) const;

  const Scenario& scenario_;
  std::size_t next_ = 0;
  Counts counts_;
  std::string broken_;
  Nanoseconds pulledUntil_{};
  Nanoseconds takenUntil_{};
  bool lost_ = false;  // the adapter was pulled while its port was open
  Run run_;
  bool running_ = false;
  bool autoRan_ = false;
  std::set<int> everTicked_;
  std::map<int, Bytes> flashAtStart_;
  std::map<std::string, std::string> imageIn_;             // a file's image, by the good file that it was in
  std::vector<std::vector<test::SentBytes>> framesToLog_;  // of each run
  std::set<std::string> answersToLog_;                     // version and checksum of each good row, as logged
  std::set<int> outdated_;  // rows of an interrupted run, whose controllers changed without an answer
  std::size_t framesAtExit_ = kNever;

  // For the probes.
  Nanoseconds stepAt_{};  // when the current step was due
  int send_ = 0;          // of the exchange under way
  bool failureStatus_ = false;
  bool programming_ = false;
  std::set<int> refused_;  // the full checksum
};

}  // namespace quillon::soak
