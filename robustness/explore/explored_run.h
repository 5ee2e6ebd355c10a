#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "bus/controller.h"
#include "forms/quillon.h"
#include "results/run_results.h"
#include "support/fake_computer.h"

namespace quillon::explore {

/// What happens to one frame of the tool and to its answer.
enum class Event {
  kDelivered,
  kFrameLost,      ///< no controller receives the frame
  kAnswerLost,     ///< the controller acts, and its answer is lost
  kLostForOne,     ///< of a broadcast: controller 3 does not receive it
  kDamaged,        ///< the answer has a wrong CRC
  kLate,           ///< the answer comes after the exchange, during the next one
  kRefused,        ///< the controller refuses and does not act
  kOtherTicked,    ///< the frame is lost, and the other ticked controller answers in its place
  kOtherUnticked,  ///< the same by a controller that is not ticked
  kEcho,           ///< the frame is lost and comes back
  kDeviceFails,    ///< the device fails from here on
  kCancel,         ///< the operator presses Cancel while the tool waits for the answer
  kClose,          ///< the operator closes the main window meanwhile
};
inline constexpr int kEvents = 13;
const char* NameOf(Event event);

/// The events that differ from kDelivered, by the number of the sent frame from 0.
using Choices = std::map<int, Event>;

/// One way to run: a button, and what is not usual.
struct Way {
  const char* name;
  CommandButton Quillon::*button;
  bool prot3 = false;        ///< the controllers are on protocol 3, "Prot 3" is ticked
  bool keepSpeed = false;    ///< the line keeps its speed while programming
  bool echo = false;         ///< the adapter returns each frame; answers come after the pause of the echo
  bool ownProtocol = false;  ///< protocol byte 5; the boot code accepts the fixed one alone
};
extern const std::vector<Way> kWays;

/// Writes the firmware file of all runs into `folder`.
void WriteImage(const std::string& folder);

/// A whole program at a line with the controllers 3 and 5, which are ticked, and 7, which is not. A run under
/// virtual time, in which `choices` says what happens to each frame.
class ExploredRun final : private test::FakeComputer, private RunObserver {
 public:
  /// `imageFolder` ends with a separator and contains the image, see WriteImage.
  ExploredRun(const Way& way, const Choices& choices, const std::string& imageFolder);

  /// Presses the button and compares what the program reports with the controllers' flash. Returns what is
  /// wrong, or "".
  std::string Violation();

  /// Whether each event is possible for the frames sent, by number.
  int FramesSent() const { return frames_; }
  bool IsBroadcast(int frame) const { return broadcasts_[static_cast<std::size_t>(frame)]; }

 private:
  void Write(std::span<const std::uint8_t> bytes) override;
  void OnRunEvent(const RunEvent& event) override;

  void AddController(int number);
  Bytes AnswerTo(const Bytes& frame, Event event);
  Bytes Deliver(const Bytes& frame, int number);
  Bytes AnswerOfOther(Bytes frame, int number);
  void Interfere(Event event);
  std::string WrongVerdict(int y);
  std::string WrongEvidence(int y) const;
  bool OneOtherAnsweredAll() const;
  std::string FramesAfterCancel() const;
  std::string WrongEnd() const;

  const Way& way_;
  const Choices& choices_;
  std::map<int, bus::Controller> controllers_;
  std::map<int, Bytes> flashBefore_;
  std::map<int, int> batchesTaken_;  ///< and acknowledged, by each controller
  bus::Random random_;
  Quillon tool_;
  RunResults results_;
  int frames_ = 0;     ///< sent
  std::string wrong_;  ///< a frame that the run must not send
  std::vector<bool> broadcasts_;
  int ownAnswers_ = 0;  ///< intact answers with the number of the controller that was asked
  std::set<int> otherNumbers_;
  int framesAtCancel_ = -1;  ///< sent when Cancel was pressed; -1: it was not
  bool failed_ = false;      ///< the device failed
};

}  // namespace quillon::explore
