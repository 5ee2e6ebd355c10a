// Measures a line: sends the message $73 many times and records each answer with its times. It waits longer
// than the tool does, so that late answers are seen. A silent controller is asked again at the other speeds.
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
constexpr double kCancelStep = 0.1;     // seconds between two looks for a cancel
constexpr std::size_t kQuestionBytes = 7;
constexpr int kSearchedSpeeds[] = {4800, 9600, 19200, 38400};

// An adapter may pass bytes on at fixed moments only. With a constant pause every question would have the
// same distance from them, and the delay could not be seen. So the pause grows step by step and begins again.
constexpr int kPauses = 11;
constexpr double kPauseStep = 0.002;  // seconds

/// An answer to the check has 13 or 14 bytes. Its CRC is checked as the tool does.
LineReply Judge(const Bytes& bytes) {
  if (bytes.empty()) return LineReply::kNone;
  const bool length = bytes.size() == 13 || bytes.size() == 14;
  return length && CrcMatches(bytes) ? LineReply::kGood : LineReply::kDamaged;
}

/// Whether all bytes of the shorter one are equal.
bool BeginAlike(const Bytes& one, const Bytes& other) {
  const auto [endOfOne, endOfOther] = std::ranges::mismatch(one, other);
  return endOfOne == one.end() || endOfOther == other.end();
}

bool IsSilent(const MeasuredController& controller) {
  return std::ranges::all_of(controller.questions,
                             [](const Question& question) { return question.reply == LineReply::kNone; });
}

/// A measurement under way.
struct LineCheck {
  Clock& clock;
  Events& events;
  SerialDevice& device;
  const std::function<bool()>& cancelled;
  LineMeasurement result;
  double start = clock.Now();
  int asked = 0;

  bool Ends() const {
    return cancelled() || (!result.plan.watch && clock.Now() - start > LongestSeconds(result.plan));
  }

  /// Waits for bytes until `time`, or for a moment. May return nothing.
  Bytes ReadUntil(double time) {
    const double until = std::min(time, clock.Now() + kCancelStep);
    events.YieldUntil(until);
    result.lateness = std::max(result.lateness, clock.Now() - until);
    return device.Read();
  }

  /// Counts the bytes received without a question.
  void Listen() {
    const double until = start + kIdleListening;
    while (clock.Now() < until && !Ends()) result.idleBytes += static_cast<int>(ReadUntil(until).size());
  }

  void AskRounds(const RoundObserver& observe) {
    const LinePlan& plan = result.plan;
    for (int round = 0; plan.watch || round < plan.questions; ++round) {
      for (MeasuredController& controller : result.controllers) {
        if (!plan.watch && round >= kSilentRounds && IsSilent(controller)) continue;
        Question question = Ask(controller.number, plan.baud);
        if (Ends()) return;  // a wait that was cut short shows nothing
        controller.questions.push_back(std::move(question));
      }
      if (observe) observe(result, round + 1);
    }
  }

  /// Asks the silent controllers once at each other speed.
  void SearchSpeeds() {
    for (const int speed : kSearchedSpeeds) {
      for (MeasuredController& controller : result.controllers) {
        if (Ends()) return;
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
    clock.SleepUntil(clock.Now() + kPauseStep * (asked++ % kPauses));
    return question;
  }

  /// Waits twice the time-out for a first byte, so that a late answer is seen, and from there on for the
  /// pause.
  void AwaitReply(const Bytes& frame, double frameEnds, Question& question) {
    double until = frameEnds + 2 * result.plan.timeout;
    Bytes& bytes = question.bytes;
    while (clock.Now() < until && !Ends()) {
      const Bytes read = ReadUntil(until);
      if (read.empty()) continue;
      // A simulated line, or an echo, may be earlier than the last bit of the question on a real line.
      question.lastByte = std::max(0.0, clock.Now() - frameEnds);
      if (bytes.empty()) question.firstByte = question.lastByte;
      question.together += static_cast<int>(read.size()) - 1;
      bytes.insert(bytes.end(), read.begin(), read.end());
      if (!BeginAlike(bytes, frame)) {
        until = std::min(until, frameEnds + question.firstByte + kAnswerPause);
      } else if (bytes.size() >= frame.size()) {
        ++result.echoes;
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(frame.size()));
        question.firstByte = question.lastByte;
        question.together = std::max(0, static_cast<int>(bytes.size()) - 1);
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
