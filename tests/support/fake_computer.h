#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bus/bus.h"
#include "platform/computer.h"

namespace quillon::test {

using namespace std::chrono_literals;
using Nanoseconds = std::chrono::nanoseconds;

/// A box that the program showed.
struct ShownBox {
  std::string text;
  std::string title;
  BoxKind kind;
  bool operator==(const ShownBox&) const = default;
};

/// What the tool put on the line in one go.
struct SentBytes {
  Nanoseconds at;
  int baud;
  std::vector<std::uint8_t> bytes;
};

/// What comes back for one sending: bytes, so long after it.
struct Reply {
  Nanoseconds after;
  std::vector<std::uint8_t> bytes;
};

/// A computer in memory. Its clock advances only while the program waits, its operator acts at yields, and
/// its serial line leads to simulated controllers or to a script.
class FakeComputer : public Clock, public Events, public Dialogs, public Screen, public SerialDevice {
 public:
  FakeComputer();
  /// In a folder that exists already and stays.
  explicit FakeComputer(std::string existingFolder) : folder(std::move(existingFolder)) {}
  ~FakeComputer() override;
  FakeComputer(const FakeComputer&) = delete;
  FakeComputer& operator=(const FakeComputer&) = delete;

  Computer AsComputer() { return {*this, *this, *this, *this, *this, folder}; }

  // The operator. Actions run inside the yields of the program, like clicks.

  /// Does something at a time, or at the first yield after it.
  void At(Nanoseconds time, std::function<void()> action) { actions_.emplace(time, std::move(action)); }
  /// Does something once, at the first yield at which the condition holds.
  void When(std::function<bool()> condition, std::function<void()> action);
  /// Runs while a box is shown, before the operator's OK.
  std::function<void(const ShownBox&)> onBox;

  std::string fileDialog;              ///< title and filter of the last file dialog
  std::string fileToChoose;            ///< what the operator picks in the next file dialogs; empty: Cancel
  std::vector<ShownBox> boxes;         ///< all boxes so far
  std::vector<std::string> questions;  ///< all questions so far
  std::deque<bool> replies;            ///< to the next questions; with none left: Yes
  bool boxAnswered = false;            ///< the program answered the box that stands, or a click meanwhile did
  int beeps = 0;
  int calls = 0;  ///< for the operator
  bool ended = false;

  // The line.

  bus::Bus* bus = nullptr;                ///< where it leads to, when there is no script
  std::deque<std::vector<Reply>> script;  ///< the replies to each sending in turn; with none left: silence
  std::vector<SentBytes> sent;            ///< all that the tool sent
  std::vector<int> openedPorts;           ///< each opening, by number
  bool open = false;
  int baud = 0;
  std::vector<int> speeds;                ///< each speed that the open line was set to, the opening's first
  std::function<void()> beforeOperation;  ///< raises what a failing device raises
  std::function<Bytes()> noise;           ///< what comes in of itself; asked whenever time passes
  bool takesBytes = true;                 ///< false: nothing that is written ever leaves

  std::string folder;  ///< the program's, ends with a separator; the destructor removes it

  /// Writes a file into the folder and returns its path.
  std::string WriteFile(const std::string& name, const std::string& contents) const;
  std::string ReadFile(const std::string& name) const;

  Nanoseconds Time() const { return now_; }

  // What the program calls.
  double Now() override;
  void SleepUntil(double time) override;
  void Yield() override;
  void YieldUntil(double time) override;
  void End() override { ended = true; }
  void ShowBox(const std::string& text, const std::string& title, BoxKind kind) override;
  bool Ask(const std::string& question, const std::string& title) override;
  void AnswerBox() override { boxAnswered = true; }
  void Beep() override { ++beeps; }
  void RequestAttention() override { ++calls; }
  std::string ChooseFile(const std::string& title, const std::string& filter) override;
  void Draw(Form&) override {}
  void Open(int number, const LineSettings& settings) override;
  void Close() override;
  void Configure(const LineSettings& settings) override;
  void Write(std::span<const std::uint8_t> bytes) override;
  std::size_t Waiting() override;
  std::vector<std::uint8_t> Read() override;
  PortDescription Describe(int number) const override { return {"device " + std::to_string(number), true}; }

 private:
  void Act();
  void Pass(Nanoseconds to);
  void Advance(Nanoseconds to);
  void LetOut();
  void GiveUpWaiting();
  void Collect();
  void Operate();
  Nanoseconds TimeOnLine(std::size_t bytes) const;
  bus::LineFormat Format() const;

  bool ownFolder_ = false;
  Nanoseconds now_{0};
  std::multimap<Nanoseconds, std::function<void()>> actions_;
  struct Watch {
    std::function<bool()> condition;
    std::function<void()> action;
  };
  std::vector<Watch> watches_;
  std::multimap<Nanoseconds, std::vector<std::uint8_t>> arriving_;  // of the script
  std::vector<std::uint8_t> received_;
  std::size_t stuck_ = 0;  // bytes written to a line that takes none
};

}  // namespace quillon::test
