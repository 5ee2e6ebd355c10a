// Measures a line: sends the message $73 many times and records each answer with its times. It waits longer
// than the tool does, so that late answers are seen. A silent controller is asked again at the other speeds.
#include "line/measurement.h"

#include <algorithm>
#include <utility>

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
  const auto length = static_cast<std::ptrdiff_t>(std::min(one.size(), other.size()));
  return std::equal(one.begin(), one.begin() + length, other.begin());
}

bool IsSilent(const MeasuredController& controller) {
  return std::all_of(controller.questions.begin(), controller.questions.end(),
                     [](const Question& question) { return question.reply == LineReply::kNone; });
}

}  // namespace

double QuestionSeconds(int baud, double answerAfter) {
  return LineSeconds(kQuestionBytes, baud) + answerAfter + kAnswerPause + kPauses * kPauseStep;
}

LineCheck::LineCheck(Clock& clock, Events& events, SerialDevice& device, LinePlan plan,
                     std::function<bool()> cancelled)
    : clock_(clock), events_(events), device_(device), cancelled_(std::move(cancelled)) {
  for (const int number : plan.controllers) result_.controllers.push_back({.number = number});
  result_.plan = std::move(plan);
}

double LineCheck::LongestSeconds() const {
  const LinePlan& plan = result_.plan;
  double each = plan.questions * QuestionSeconds(plan.baud, 2 * plan.timeout);
  for (const int speed : kSearchedSpeeds) each += QuestionSeconds(speed, 2 * plan.timeout);
  return kIdleListening + kReserve + each * static_cast<double>(plan.controllers.size());
}

double LineCheck::UsualSeconds() const {
  const LinePlan& plan = result_.plan;
  const double round = QuestionSeconds(plan.baud, 0) * static_cast<double>(plan.controllers.size());
  return kIdleListening + plan.questions * round;
}

LineMeasurement LineCheck::Run(const Observer& observe) {
  device_.Open(result_.plan.port, {result_.plan.baud});
  const ScopeExit close([this] { device_.Close(); });
  start_ = clock_.Now();
  Listen(kIdleListening);
  AskRounds(observe);
  SearchSpeeds();
  result_.seconds = clock_.Now() - start_;
  result_.cancelled = cancelled_();
  return result_;
}

/// Waits for bytes until `time`, or for a moment. May return nothing.
Bytes LineCheck::ReadUntil(double time) {
  const double until = std::min(time, clock_.Now() + kCancelStep);
  events_.YieldUntil(until);
  result_.lateness = std::max(result_.lateness, clock_.Now() - until);
  return device_.Read();
}

/// Counts the bytes received without a question.
void LineCheck::Listen(double seconds) {
  const double until = clock_.Now() + seconds;
  while (clock_.Now() < until && !Ends()) result_.idleBytes += static_cast<int>(ReadUntil(until).size());
}

bool LineCheck::Ends() const {
  return cancelled_() || (!result_.plan.watch && clock_.Now() - start_ > LongestSeconds());
}

void LineCheck::AskRounds(const Observer& observe) {
  const LinePlan& plan = result_.plan;
  for (int round = 0; plan.watch || round < plan.questions; ++round) {
    for (MeasuredController& controller : result_.controllers) {
      if (!plan.watch && round >= kSilentRounds && IsSilent(controller)) continue;
      Question question = Ask(controller.number, plan.baud);
      if (Ends()) return;  // a wait that was cut short shows nothing
      controller.questions.push_back(std::move(question));
    }
    observe(result_, round + 1);
  }
}

/// Asks the silent controllers once at each other speed.
void LineCheck::SearchSpeeds() {
  for (const int speed : kSearchedSpeeds) {
    for (MeasuredController& controller : result_.controllers) {
      if (Ends()) return;
      if (speed == result_.plan.baud || controller.otherSpeed != 0 || !IsSilent(controller)) continue;
      device_.Configure({speed});
      if (Ask(controller.number, speed).reply == LineReply::kGood) controller.otherSpeed = speed;
    }
  }
}

Question LineCheck::Ask(int number, int baud) {
  Question question;
  result_.idleBytes += static_cast<int>(device_.Read().size());
  question.asked = clock_.Now() - start_;
  const Bytes frame = FlashCheckFrame(result_.plan.protocolByte, number);
  device_.Write(frame);
  AwaitReply(frame, clock_.Now() + LineSeconds(frame.size(), baud), question);
  question.reply = Judge(question.bytes);
  clock_.SleepUntil(clock_.Now() + kPauseStep * (asked_++ % kPauses));
  return question;
}

/// Waits twice the time-out for a first byte, so that a late answer is seen, and from there on for the pause.
void LineCheck::AwaitReply(const Bytes& frame, double frameEnds, Question& question) {
  double until = frameEnds + 2 * result_.plan.timeout;
  while (clock_.Now() < until && !Ends()) {
    const Bytes read = ReadUntil(until);
    if (read.empty()) continue;
    // A simulated line, or an echo, may be earlier than the last bit of the question on a real line.
    question.lastByte = std::max(0.0, clock_.Now() - frameEnds);
    if (question.bytes.empty()) question.firstByte = question.lastByte;
    question.together += static_cast<int>(read.size()) - 1;
    question.bytes.insert(question.bytes.end(), read.begin(), read.end());
    const bool maybeEcho = BeginAlike(question.bytes, frame);
    if (maybeEcho && question.bytes.size() >= frame.size()) {
      ++result_.echoes;
      question.bytes.erase(question.bytes.begin(),
                           question.bytes.begin() + static_cast<std::ptrdiff_t>(frame.size()));
      question.firstByte = question.lastByte;
      question.together = std::max(0, static_cast<int>(question.bytes.size()) - 1);
    } else if (!maybeEcho) {
      until = std::min(until, frameEnds + question.firstByte + kAnswerPause);
    }
  }
}

}  // namespace quillon
