// Measures a line: sends the message $73, which asks a controller for version and checksum, many times and
// records each answer with its times:
//
//     Listen         two seconds without a question: bytes received now are no answer
//     AskRounds      each round asks each controller once
//     SearchSpeeds   asks each controller that never answered once more, at each other speed
//
// Ask waits longer for an answer than a download does (SendFrame), so that late answers are seen.
#include "line/measurement.h"

#include <algorithm>

#include "commands/frames.h"
#include "link/exchange.h"
#include "platform/scope_exit.h"
#include "platform/serial_control.h"

namespace quillon {
namespace {

constexpr double kIdleListening = 2.0;  // seconds
constexpr double kReserve = 1.0;        // seconds for opening the port and for a busy computer
constexpr double kCancelStep = 0.1;     // seconds between two checks for a cancel
constexpr std::size_t kQuestionBytes = 7;
constexpr int kSearchedSpeeds[] = {4800, 9600, 19200, 38400};

// Some adapters pass bytes on only at fixed moments, for example every 16 ms. If the pause between questions
// were constant, every answer would be delayed by the same time, and the delay could not be seen. So the
// pause grows by a step after each question, and after kPauses questions restarts at 0.
constexpr int kPauses = 11;
constexpr double kPauseStep = 0.002;  // seconds

/// An answer to $73 has 13 or 14 bytes. Its CRC is checked as in a download.
LineReply Judge(const Bytes& bytes) {
  if (bytes.empty()) return LineReply::kNone;
  const bool length = bytes.size() == 13 || bytes.size() == 14;
  return length && CrcMatches(bytes) ? LineReply::kGood : LineReply::kDamaged;
}

/// Whether one is the beginning of the other.
bool BeginAlike(const Bytes& one, const Bytes& other) {
  const auto [endOfOne, endOfOther] = std::ranges::mismatch(one, other);
  return endOfOne == one.end() || endOfOther == other.end();
}

bool IsSilent(const MeasuredController& controller) {
  return std::ranges::all_of(controller.questions, [](auto& q) { return q.reply == LineReply::kNone; });
}

/// A measurement under way.
struct LineCheck {
  Clock& clock;
  Events& events;
  SerialDevice& device;
  const std::function<bool()>& cancelled;
  LineMeasurement result;
  double start = clock.Now();
  int questions = 0;  // asked so far

  bool MustEnd() const {
    return cancelled() || (!result.plan.watch && clock.Now() - start > LongestSeconds(result.plan));
  }

  /// Waits for bytes until `time`, but at most until the next check for a cancel. May return nothing. Also
  /// measures how late the computer wakes this program.
  Bytes ReadUntil(double time) {
    const double until = std::min(time, clock.Now() + kCancelStep);
    events.YieldUntil(until);
    result.lateness = std::max(result.lateness, clock.Now() - until);
    return device.Read();
  }

  /// Counts the bytes received without a question.
  void Listen() {
    const double until = start + kIdleListening;
    while (clock.Now() < until && !MustEnd()) result.idleBytes += static_cast<int>(ReadUntil(until).size());
  }

  void AskRounds(const RoundObserver& observe) {
    const LinePlan& plan = result.plan;
    for (int round = 0; plan.watch || round < plan.questions; ++round) {
      for (MeasuredController& controller : result.controllers) {
        if (!plan.watch && round >= kSilentRounds && IsSilent(controller)) continue;
        Question question = Ask(controller.number, plan.baud);
        if (MustEnd()) return;  // the wait for the answer may have been cut short: this question is dropped
        controller.questions.push_back(std::move(question));
      }
      if (observe) observe(result, round + 1);
    }
  }

  /// Asks the silent controllers once at each other speed.
  void SearchSpeeds() {
    for (const int speed : kSearchedSpeeds) {
      for (MeasuredController& controller : result.controllers) {
        if (MustEnd()) return;
        if (speed == result.plan.baud || controller.otherSpeed != 0 || !IsSilent(controller)) continue;
        device.Configure({speed});
        if (Ask(controller.number, speed).reply == LineReply::kGood) controller.otherSpeed = speed;
      }
    }
  }

  Question Ask(int number, int baud) {
    Question question;
    result.idleBytes += static_cast<int>(device.Read().size());
    question.asked = clock.Now() - start;
    const Bytes frame = FlashCheckFrame(result.plan.protocolByte, number);
    device.Write(frame);
    AwaitReply(frame, clock.Now() + LineSeconds(frame.size(), baud), question);
    question.reply = Judge(question.bytes);
    clock.SleepUntil(clock.Now() + kPauseStep * (questions++ % kPauses));
    return question;
  }

  /// Reads the answer to `frame` with its times. Waits for a first byte for twice the time-out, so that a
  /// late answer is seen. The answer ends kAnswerPause after its first byte. An adapter may return the
  /// question first, as an echo, which is removed: the answer begins behind it.
  void AwaitReply(const Bytes& frame, double frameEnds, Question& question) {
    double until = frameEnds + 2 * result.plan.timeout;
    Bytes& bytes = question.bytes;
    while (clock.Now() < until && !MustEnd()) {
      const Bytes read = ReadUntil(until);
      if (read.empty()) continue;
      // frameEnds is computed for a real line. A simulated line or an echo can be earlier than that.
      question.lastByte = std::max(0.0, clock.Now() - frameEnds);
      if (bytes.empty()) question.firstByte = question.lastByte;
      question.bytesWithPrevious += static_cast<int>(read.size()) - 1;
      bytes.insert(bytes.end(), read.begin(), read.end());
      if (!BeginAlike(bytes, frame)) {  // not an echo
        until = std::min(until, frameEnds + question.firstByte + kAnswerPause);
      } else if (bytes.size() >= frame.size()) {
        ++result.echoes;
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(frame.size()));
        question.firstByte = question.lastByte;
        question.bytesWithPrevious = std::max(0, static_cast<int>(bytes.size()) - 1);
      }
    }
  }
};

}  // namespace

double QuestionSeconds(int baud, double answerAfter) {
  return LineSeconds(kQuestionBytes, baud) + answerAfter + kAnswerPause + kPauses * kPauseStep;
}

double LongestSeconds(const LinePlan& plan) {
  double each = plan.questions * QuestionSeconds(plan.baud, 2 * plan.timeout);
  for (const int speed : kSearchedSpeeds) each += QuestionSeconds(speed, 2 * plan.timeout);
  return kIdleListening + kReserve + each * static_cast<double>(plan.controllers.size());
}

double UsualSeconds(const LinePlan& plan) {
  const double round = QuestionSeconds(plan.baud, 0) * static_cast<double>(plan.controllers.size());
  return kIdleListening + plan.questions * round;
}

LineMeasurement MeasureLine(Clock& clock, Events& events, SerialDevice& device, const LinePlan& plan,
                            const std::function<bool()>& cancelled, const RoundObserver& observe) {
  device.Open(plan.port, {plan.baud});
  const ScopeExit close([&device] { device.Close(); });
  LineCheck check{clock, events, device, cancelled, {.plan = plan}};
  for (const int number : plan.controllers) check.result.controllers.push_back({.number = number});
  check.Listen();
  check.AskRounds(observe);
  check.SearchSpeeds();
  check.result.seconds = clock.Now() - check.start;
  check.result.cancelled = cancelled();
  return check.result;
}

}  // namespace quillon
