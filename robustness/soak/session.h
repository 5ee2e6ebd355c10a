#pragma once

#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "faults/witness.h"
#include "forms/quillon.h"
#include "support/fake_computer.h"

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

/// How much was looked at, so that a quiet trial is not taken for a good one.
struct Counts {
  std::size_t runs = 0;
  std::size_t frames = 0;
  std::size_t cancelled = 0;
  std::size_t failed = 0;  // runs with a run-error box
  std::size_t goodRows = 0;
  Counts& operator+=(const Counts& more);
};

/// One program from start to end: the operator goes through the steps, and what must never be is looked at
/// after each run and at the end.
class Session {
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
  void Babble(std::uint64_t noiseSeed, Nanoseconds howLong);
  void Deafen(Nanoseconds howLong);

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
    std::set<int> ticked{};          // at any time of the run
    std::set<std::string> images{};  // that the chosen file held at any time of the run
    std::vector<std::string> rows{};
    std::string timeOut;
    std::string speed;
    bool mayKeepSpeed = false;  // the file allowed it at some time
    bool protocol3 = false;     // ticked at some time
  };
  static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

  void FailLine();
  void ArmNext();
  void EndAtLast();
  void Complain(const std::string& what);
  void NoteChoices();
  std::string RowText(int y) const;
  bool FailureShown() const;
  void LookAfterRun();
  void LookAtFrames();
  void LookAtFramesAfterCancel();
  bool MayFollowCancel(std::size_t frame) const;
  void LookAtRows();
  void LookAtRow(int y);
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
  std::size_t framesAtExit_ = kNever;
};

}  // namespace quillon::soak
