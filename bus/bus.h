#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "bus/controller.h"
#include "bus/frame.h"
#include "bus/line.h"

namespace bus {

struct LineOptions {
  bool echo = false;  // the adapter hands every byte back to the tool as it leaves
  Time answerDelay = std::chrono::milliseconds(5);  // from the end of a frame to the first bit of its answer
  bool paced = true;                                // false: bytes take no time on the line
  int downloadBaud = 9600;                          // where controllers listen after $74 with $AA
  std::uint64_t seed = 1;                           // of the faults that strike by chance
};

/// A half-duplex line with simulated controllers. Passive: no threads, no clock; it moves by the `now` that
/// it is given, which may jump forward by any amount.
///
/// A frame is acted on when its last byte has left; the answer begins `answerDelay` later, at the speed of
/// the frame. What a controller looks like (`At`) is its state after all that was sent so far. Two that
/// answer at the same moment pull the line together: the tool gets the AND of their bytes. Any other overlap,
/// of the tool's bytes with an answer or of two answers, destroys the bytes concerned: the tool doesn't get
/// them, and a frame that lost one is heard by no controller. Unpaced bytes take no time and never overlap.
class Bus {
 public:
  explicit Bus(LineOptions options = {});

  /// Hangs a controller on the line; the reference stays valid as long as the bus. Two may have one number.
  /// Throws std::invalid_argument when the setup is out of range.
  Controller& Add(ControllerSetup setup);

  /// The first controller with this number. Throws std::out_of_range when there is none.
  Controller& At(int number);

  /// The tool puts bytes on the line now; they leave one behind the other, after any still leaving. Bytes of
  /// one frame may come in several calls. Throws std::invalid_argument for a speed below 1.
  void Send(std::span<const std::uint8_t> bytes, const LineFormat& format, Time now);

  /// When the bytes sent so far have left the line (<= now: the line is idle).
  Time SendingEnds() const { return sendingEnds_; }

  /// The next moment at which a byte reaches the tool, if one is under way.
  std::optional<Time> NextArrival() const;

  /// The bytes that reached the tool by now, at its present format (bytes sent at another one are lost).
  Bytes Receive(const LineFormat& listening, Time now);

  /// Every frame the tool put on the line, in order: what was sent, when, at which speed.
  const std::vector<Heard>& Traffic() const { return traffic_; }

  /// Every answer a controller put on the line, in order of the frames that they answer.
  struct Answered {
    int number;
    Time begins;
    Time ends;
    LineFormat format;
    Bytes bytes;
  };
  const std::vector<Answered>& Answers() const { return answers_; }

  /// Empties `Traffic` and `Answers`; a long run would pile them up.
  void ForgetTraffic();

 private:
  struct Arriving {
    Time begins;
    Time ends;
    LineFormat format;
    std::uint8_t value;
    bool lost;
  };

  void HearFrame(const Heard& frame);
  void PutAnswer(const Answered& answer);
  void PutByte(const Arriving& byte);
  bool Collides(Time begins, Time ends);
  Time ByteEnd(Time begins, std::size_t count, const LineFormat& format) const;

  LineOptions options_;
  Random random_;
  std::deque<Controller> controllers_;
  Framer framer_;
  Time sendingEnds_{};
  std::deque<Arriving> arriving_;  // by the time of their arrival
  std::vector<Heard> traffic_;
  std::vector<Answered> answers_;
};

}  // namespace bus
