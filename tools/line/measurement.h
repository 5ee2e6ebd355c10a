// The measurement of a line: the check of the flash, sent many times, and the answers.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/computer.h"

namespace quillon {

struct LinePlan {
  int port = 1;
  int baud = 9600;
  std::uint8_t protocolByte = 0x40;
  std::vector<int> controllers;
  int questions = 20;    ///< to each controller; one that is silent gets kSilentRounds
  bool watch = false;    ///< ask all again and again until cancelled instead
  double timeout = 0.5;  ///< seconds; an answer that begins later is late
};

enum class LineReply { kGood, kDamaged, kNone };

/// One question and its answer. Times are in seconds, from the end of the question if not said otherwise.
struct Question {
  double asked = 0;  ///< since the start of the measurement
  LineReply reply = LineReply::kNone;
  Bytes bytes;  ///< all bytes received until the end of the pause, without an echo
  double firstByte = 0;
  double lastByte = 0;
  int bytesWithPrevious = 0;  ///< bytes received in the same read as the byte before
};

struct MeasuredController {
  int number = 0;
  std::vector<Question> questions{};
  int otherSpeed = 0;  ///< at which it answered, after silence at the speed of the plan; 0: none
};

struct LineMeasurement {
  LinePlan plan;
  std::vector<MeasuredController> controllers{};
  int idleBytes = 0;    ///< received without a question
  int echoes = 0;       ///< questions received before the answer
  double lateness = 0;  ///< by which this computer woke the program too late at most, in seconds
  double seconds = 0;   ///< that the measurement took
  bool cancelled = false;
};

/// Rounds without any byte from a controller after which it counts as not there.
inline constexpr int kSilentRounds = 4;

/// How long a question, the answer that begins so long after it, and the pause take at most, in seconds.
double QuestionSeconds(int baud, double answerAfter);

/// How long a measurement takes at most, whatever is received, and when each controller answers at once.
double LongestSeconds(const LinePlan& plan);
double UsualSeconds(const LinePlan& plan);

/// Called after each round: each controller was asked once more. May be empty.
using RoundObserver = std::function<void(const LineMeasurement& soFar, int round)>;

/// Measures a line by the check of the flash alone, which changes nothing in a controller. It follows the
/// rules of the line: one question at a time, and the pause of the tool after each answer. The controllers
/// are asked in turn. `cancelled` is called at least ten times a second. Raises RunError as `SerialDevice`
/// does; the port is closed then.
LineMeasurement MeasureLine(Clock& clock, Events& events, SerialDevice& device, const LinePlan& plan,
                            const std::function<bool()>& cancelled, const RoundObserver& observe);

}  // namespace quillon
