#include "unattended/forecast.h"

#include <QRegularExpression>
#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

#include "commands/frames.h"
#include "forms/quillon.h"
#include "image/analyse_image.h"
#include "image/batch_reader.h"
#include "link/exchange.h"

namespace quillon {
namespace {

constexpr double kBitsPerByte = 11;     // start bit, 8 data bits, 2 stop bits
constexpr double kAnswerDelay = 0.005;  // seconds to the answer; a guess that hardly matters
constexpr double kFailurePause = 2.0;   // seconds that a failure is shown

int ToNumber(const std::string& text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

double LineSeconds(std::size_t bytes, int speed) {
  return static_cast<double>(bytes) * kBitsPerByte / std::max(speed, 1);
}

/// The frame, the first byte of its answer, and the pause that ends an answer.
double ExchangeSeconds(std::size_t frameBytes, int speed) {
  return LineSeconds(frameBytes + 1, speed) + kAnswerDelay + kAnswerPause;
}

double EraseSeconds(int speed) {
  return ExchangeSeconds(FlashEraseFrame(0, 0, SpeedWhileProgramming::kKept).size(), speed);
}
double ConfirmSeconds(int speed) { return ExchangeSeconds(FullChecksumFrame(0, "").size(), speed); }
double CheckSeconds(int speed) { return ExchangeSeconds(FlashCheckFrame(0, 0).size(), speed); }

}  // namespace

void ReadImage(const std::string& path, RunFacts& facts) {
  ImageFacts image;
  AnalyseImage(LineReader::OfFile(path), image);
  facts.imageSpeed = ToNumber(image.ImageBaudRate);
  const std::string file = ReadFile(path);
  for (BatchReader batches(file); !batches.AtEnd();)
    facts.batchFrames.push_back(BatchFrame(kBroadcast, batches.Next()).size());
}

Forecast::Forecast(RunFacts facts) : facts_(std::move(facts)) {
  const auto each = [this](const std::vector<Stage>& stages) {
    for (const int controller : facts_.controllers) PlanController(controller, stages);
  };
  switch (facts_.job) {
    case Job::kParallel:
      each({Stage::kErase});
      PlanBatches(kAll);
      each({Stage::kConfirm});
      each({Stage::kCheck});
      break;
    case Job::kSerial:
      each({Stage::kErase, Stage::kBatch, Stage::kConfirm, Stage::kCheck});
      break;
    default:
      each({Stage::kCheck});
  }
}

void Forecast::PlanController(int controller, const std::vector<Stage>& stages) {
  for (const Stage stage : stages) {
    if (stage == Stage::kBatch) {
      PlanBatches(controller);
    } else {
      plan_.push_back({stage, controller});
    }
  }
}

void Forecast::PlanBatches(int controller) {
  for (std::size_t number = 1; number <= facts_.batchFrames.size(); ++number)
    plan_.push_back({Stage::kBatch, controller, number});
}

void Forecast::See(const QString& status, double now) {
  static const QRegularExpression form(
      "^(?:Controller (\\d+) :)? *(?:(Erasing  \\()|Programming Batch (\\d+)|(Sending [Ff]ull)|Checking )");
  static const QRegularExpression withSpeed("Speed : (\\d+)");
  const QRegularExpressionMatch parts = form.match(status);
  if (!parts.hasMatch()) return;
  const int controller = parts.hasCaptured(1) ? parts.captured(1).toInt() : kAll;
  const Stage stage = parts.hasCaptured(2)   ? Stage::kErase
                      : parts.hasCaptured(3) ? Stage::kBatch
                      : parts.hasCaptured(4) ? Stage::kConfirm
                                             : Stage::kCheck;
  const auto number = static_cast<std::size_t>(parts.captured(3).toInt());
  const QRegularExpressionMatch speed = withSpeed.match(status);
  if (speed.hasMatch()) {
    facts_.speed = speed.captured(1).toInt();
    if (stage == Stage::kErase) foundAt_[controller] = facts_.speed;
  }
  const auto seen = std::find_if(plan_.begin(), plan_.end(), [&](const Step& step) {
    return step.stage == stage && step.controller == controller && step.number == number;
  });
  if (seen != plan_.end()) MoveTo(static_cast<std::size_t>(seen - plan_.begin()), now);
}

/// A controller's own time to write a batch is measured on the way.
void Forecast::MoveTo(std::size_t step, double now) {
  if (plan_[step].stage == Stage::kBatch && plan_[step].number > 1 && step == current_ + 1) {
    ++measured_;
    measuredSeconds_ += now - since_;
  }
  current_ = step;
  since_ = now;
}

double Forecast::SecondsLeft(double now) const {
  double left = 0;
  int speed = facts_.speed;
  for (std::size_t step = current_; step < plan_.size(); ++step) {
    const double seconds = Seconds(plan_[step], speed);
    left += step == current_ ? std::max(0.0, seconds - (now - since_)) : seconds;
  }
  return left;
}

/// `speed` is that of the line; the search for a controller moves it on.
double Forecast::Seconds(const Step& step, int& speed) const {
  const int programming = facts_.downloadSpeed != 0 ? facts_.downloadSpeed : speed;
  if (step.stage == Stage::kBatch) return BatchSeconds(step, programming);
  if (step.stage == Stage::kConfirm) return ConfirmSeconds(programming);
  if (step.stage == Stage::kCheck && !facts_.batchFrames.empty() && facts_.imageSpeed != 0) {
    speed = facts_.imageSpeed;
    return CheckSeconds(speed);
  }
  const auto found = foundAt_.find(step.controller);
  const double search = found == foundAt_.end() ? 0 : SearchSeconds(speed, found->second);
  return search + (step.stage == Stage::kErase ? EraseSeconds(speed) : CheckSeconds(speed));
}

double Forecast::BatchSeconds(const Step& step, int speed) const {
  const std::size_t bytes = facts_.batchFrames[step.number - 1];
  if (facts_.job == Job::kParallel) return std::max(facts_.delay, LineSeconds(bytes, speed));
  return measured_ != 0 ? measuredSeconds_ / measured_ : ExchangeSeconds(bytes, speed);
}

/// The time that the speed search loses before it comes to the wanted speed.
double Forecast::SearchSeconds(int& speed, int wanted) const {
  double seconds = 0;
  std::set<int> tried;
  while (speed != wanted && tried.size() < std::size(kSpeeds)) {
    seconds += kSends * (facts_.timeOut + kAnswerPause) + kFailurePause;
    tried.insert(speed);
    for (const char* next : kSpeeds) {
      if (tried.contains(ToNumber(next))) continue;
      speed = ToNumber(next);
      break;
    }
  }
  return seconds;
}

int Forecast::Batches() const {
  return static_cast<int>(std::ranges::count(plan_, Stage::kBatch, &Step::stage));
}

int Forecast::BatchesDone() const {
  const auto current = plan_.begin() + static_cast<std::ptrdiff_t>(current_);
  return static_cast<int>(std::ranges::count(plan_.begin(), current, Stage::kBatch, &Step::stage));
}

/// A controller's check is the last that happens to it.
int Forecast::ControllersDone() const {
  const auto current = plan_.begin() + static_cast<std::ptrdiff_t>(current_);
  return static_cast<int>(std::ranges::count(plan_.begin(), current, Stage::kCheck, &Step::stage));
}

}  // namespace quillon
