// The simulated line in memory: accepts the bytes of the tool, returns what the tool receives.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "bus/controller.h"
#include "bus/frame.h"
#include "bus/line.h"

namespace bus {

struct LineOptions {
  bool echo = false;                                // the adapter returns every byte to the tool as it leaves
  Time answerDelay = std::chrono::milliseconds(5);  // from the end of a frame to the first bit of its answer
  bool paced = true;                                // false: bytes take no time on the line
  int downloadBaud = 9600;                          // where controllers listen after $74 with $AA
  Time idleInterval{};     // mean time between bytes of the idle line (weak bias); 0: none
  Time latency{};          // the adapter passes bytes on at multiples of it; 0: at once
  std::uint64_t seed = 1;  // of everything that happens by chance
};

/// A half-duplex line with simulated controllers (line.h describes how such a line behaves).
///
/// It has no threads and no clock of its own. The caller passes the time: `now` may jump forward by any
/// amount, and everything due by then has happened. So a test runs an hour of traffic in a moment, and the
/// server runs the same line in real time.
///
/// Controllers act on a frame when its last byte has left the tool. The answer begins `answerDelay` later, at
/// the speed of the frame. `At` returns a controller in its state after all that was sent so far.
///
/// Two controllers that begin to answer at the same moment stay in step, bit by bit. An idle line is 1, and a
/// sender of 0 pulls it down, so the tool gets the AND of their bytes. Code and CRC of two such answers:
///
///     accepted 61 CA DA    refused E1 5B 52    together 61 4A 52: the code looks good, the CRC does not
///
/// All other overlaps, of the tool's bytes with an answer or of two answers that begin at different moments,
/// destroy the bytes concerned: the tool does not get them, and no controller acts on a frame that lost one.
/// Unpaced bytes take no time and never overlap.
///
/// Physical causes (disturbance.h) damage bytes on their way: a controller does not act on a question that
/// reaches it damaged. An idle line whose bias is too weak floats, and the tool receives bytes that no
/// station has sent; any sender suppresses them.
class Bus {
 public:
  explicit Bus(LineOptions options = {});

  /// Connects a controller to the line; the reference stays valid as long as the bus. Two may have one
  /// number. Throws std::invalid_argument when the setup is out of range.
  Controller& Add(ControllerSetup setup);

  /// The first controller with this number. Throws std::out_of_range when there is none.
  Controller& At(int number);

  /// Puts bytes that the tool sends now on the line, after those that are still being sent. The bytes of one
  /// frame may come in several calls. Throws std::invalid_argument for a speed below 1.
  void AddBytesFromTool(std::span<const std::uint8_t> bytes, const LineFormat& format, Time now);

  /// When the last byte sent so far has left (<= now: the line is idle).
  Time SendingEnds() const { return sendingEnds_; }

  /// The next moment at which a byte reaches the tool, if one is under way.
  std::optional<Time> NextArrival() const;

  /// Returns and removes the bytes that reached the tool by now. Those sent in another format than
  /// `listening`, that of the tool, are lost.
  Bytes TakeBytesForTool(const LineFormat& listening, Time now);

  /// Every frame that the tool sent, in order: the bytes, when, at which speed.
  const std::vector<ReceivedFrame>& Traffic() const { return traffic_; }

  /// Every answer that a controller sent, in order of the frames that they answer.
  struct SentAnswer {
    int number;
    Time begins;
    Time ends;
    LineFormat format;
    Bytes bytes;
  };
  const std::vector<SentAnswer>& Answers() const { return answers_; }

  /// Empties `Traffic` and `Answers`, which grow without limit otherwise.
  void ForgetTraffic();

 private:
  enum class Sender { Station, Nobody };
  struct Arriving {  // a byte on its way to the tool
    Time begins;
    Time ends;
    LineFormat format;
    std::uint8_t value;
    Reception reception;
    Sender sender = Sender::Station;
  };
  struct Transmission {  // one answer, or several that begin at the same moment
    Bytes bytes;
    double slowClock = 0;  // of the sender: its bytes take longer
  };

  void DeliverFrame(const ReceivedFrame& frame);
  void Combine(const SentAnswer& answer, const Disturbance& disturbance,
               std::map<Time, Transmission>& transmissions);
  void PutAnswer(const Transmission& answer, Time answerBegins, const LineFormat& format);
  void PutByte(const Arriving& byte);
  Reception DestroyOverlapped(Time begins, Time ends);
  Time ByteEnd(Time begins, std::size_t count, const LineFormat& format, double slowClock = 0) const;
  Time ArrivalOf(const Arriving& byte) const;
  void ScheduleIdleByte(Time after);

  LineOptions options_;
  Random random_;
  Random idleRandom_;  // separate: idle bytes depend on the time, everything else only on what is sent
  std::deque<Controller> controllers_;
  Framer framer_;
  Time sendingEnds_{};
  std::deque<Arriving> arriving_;  // ordered by their ends
  Time longestByte_{};             // of those that have been in `arriving_`
  std::vector<ReceivedFrame> traffic_;
  std::vector<SentAnswer> answers_;
};

}  // namespace bus
