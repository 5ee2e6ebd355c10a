// Estimates how long a run still takes: the sum of the steps that are left, each an exchange or a batch. For
// example a serial download of two batches to the controllers 1 and 2 has the plan
//
//     erase 1, batch 1, batch 2, confirm 1, check 1, erase 2, batch 1, batch 2, confirm 2, check 2
//
// The events of the run show which step is the current one, at which speed a controller was found, and how
// long a batch takes. estimate.h has the time of each step.
#include "results/estimate.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

#include "commands/frames.h"
#include "forms/quillon.h"
#include "image/analyse_image.h"
#include "link/exchange.h"
#include "link/outcome.h"
#include "platform/serial_control.h"

namespace quillon {
namespace {

constexpr double kAnswerDelay = 0.005;  // seconds to the answer; a guess, short compared with the pause

int ToNumber(const std::string& text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// The time of an exchange: the frame, the first byte of its answer, and the pause that ends the answer.
double ExchangeSeconds(std::size_t frameBytes, int speed) {
  return LineSeconds(frameBytes + 1, speed) + kAnswerDelay + kAnswerPause;
}

double EraseSeconds(int speed) {
  return ExchangeSeconds(FlashEraseFrame(0, 0, SpeedWhileProgramming::kKept).size(), speed);
}
double ConfirmSeconds(int speed) { return ExchangeSeconds(FullChecksumFrame(0, "").size(), speed); }
double CheckSeconds(int speed) { return ExchangeSeconds(FlashCheckFrame(0, 0).size(), speed); }

}  // namespace

RunFacts FactsOf(const RunStarted& run, const std::string& downloadSpeed) {
  constexpr double kMilliseconds = 1000;
  RunFacts facts{.kind = run.kind,
                 .controllers = run.controllers,
                 .batchFrames = {},
                 .speed = ToNumber(run.speed),
                 .delay = ToNumber(run.delay) / kMilliseconds,
                 .timeOut = ToNumber(run.timeOut) / kMilliseconds};
  if (IsDownload(run.kind) && !run.keepSpeed) facts.downloadSpeed = ToNumber(downloadSpeed);
  return facts;
}

void ReadImage(const std::string& path, RunFacts& facts) {
  ImageFacts image;
  AnalyseImage(LineReader::OfFile(path), image);
  facts.imageSpeed = ToNumber(image.ImageBaudRate);
  facts.batchFrames = BatchFrameSizes(ReadFile(path));
}

Estimate::Estimate(RunFacts facts) : facts_(std::move(facts)), lineSpeed_(facts_.speed) {
  const auto each = [this](const std::vector<Kind>& kinds) {
    for (const int controller : facts_.controllers) PlanController(controller, kinds);
  };
  switch (facts_.kind) {
    case RunKind::kParallel:
      each({Kind::kErase});
      PlanBatches(kEveryController);
      each({Kind::kConfirm});
      each({Kind::kCheck});
      break;
    case RunKind::kSerial:
      each({Kind::kErase, Kind::kBatch, Kind::kConfirm, Kind::kCheck});
      break;
    default:  // all other runs ask each controller once
      each({Kind::kCheck});
  }
}

void Estimate::PlanController(int controller, const std::vector<Kind>& kinds) {
  for (const Kind kind : kinds) {
    if (kind == Kind::kBatch) {
      PlanBatches(controller);
    } else {
      plan_.push_back({kind, controller});
    }
  }
}

void Estimate::PlanBatches(int controller) {
  for (std::size_t number = 1; number <= facts_.batchFrames.size(); ++number)
    plan_.push_back({Kind::kBatch, controller, number});
}

void Estimate::Follow(const RunEvent& event, double now) {
  if (const auto* begun = std::get_if<ControllerBegun>(&event.what)) Begin(*begun, now);
  if (const auto* batch = std::get_if<BatchBegun>(&event.what))
    MoveTo({Kind::kBatch, batch->controller, static_cast<std::size_t>(batch->number)}, now);
  if (const auto* changed = std::get_if<SpeedChanged>(&event.what)) {
    lineSpeed_ = ToNumber(changed->speed);
    if (searching_) UseLineSpeed();
  }
  if (std::holds_alternative<ControllerEnded>(event.what)) searching_.reset();
}

void Estimate::Begin(const ControllerBegun& event, double now) {
  switch (event.phase) {
    case Phase::kErase:
      MoveTo({Kind::kErase, event.controller}, now);
      break;
    case Phase::kConfirm:
      MoveTo({Kind::kConfirm, event.controller}, now);
      return;
    case Phase::kCheck:
    case Phase::kBootCheck:
      MoveTo({Kind::kCheck, event.controller}, now);
      break;
    default:
      return;
  }
  searching_ = event;
  UseLineSpeed();
}

/// Follows the speed search, which tries one speed after the other until the controller answers. The last
/// speed that it sets for a controller is the one at which it was found.
void Estimate::UseLineSpeed() {
  facts_.speed = lineSpeed_;
  if (searching_->phase == Phase::kErase) foundAt_[searching_->controller] = lineSpeed_;
}

/// Makes `step` the current one. The time from one batch to the next is measured, because it includes the
/// unknown time in which the controller writes a batch.
void Estimate::MoveTo(const Step& step, double now) {
  const auto found = std::ranges::find(plan_, step);
  if (found == plan_.end()) return;
  const auto index = static_cast<std::size_t>(found - plan_.begin());
  if (step.kind == Kind::kBatch && step.number > 1 && index == current_ + 1) {
    ++measured_;
    measuredSeconds_ += now - since_;
  }
  current_ = index;
  since_ = now;
}

double Estimate::SecondsLeft(double now) const {
  double left = 0;
  int speed = facts_.speed;
  for (std::size_t step = current_; step < plan_.size(); ++step) {
    const double seconds = Seconds(plan_[step], speed);
    left += step == current_ ? std::max(0.0, seconds - (now - since_)) : seconds;
  }
  return left;
}

/// The time of a step. `speed` is that of the line before the step, and is set to that after it: a step can
/// change it by a speed search, or because the controllers take the speed of the new image.
double Estimate::Seconds(const Step& step, int& speed) const {
  const int programming = facts_.downloadSpeed != 0 ? facts_.downloadSpeed : speed;
  if (step.kind == Kind::kBatch) return BatchSeconds(step, programming);
  if (step.kind == Kind::kConfirm) return ConfirmSeconds(programming);
  if (step.kind == Kind::kCheck && !facts_.batchFrames.empty() && facts_.imageSpeed != 0) {
    speed = facts_.imageSpeed;
    return CheckSeconds(speed);
  }
  const auto found = foundAt_.find(step.controller);
  const double search = found == foundAt_.end() ? 0 : SearchSeconds(speed, found->second);
  return search + (step.kind == Kind::kErase ? EraseSeconds(speed) : CheckSeconds(speed));
}

double Estimate::BatchSeconds(const Step& step, int speed) const {
  const std::size_t bytes = facts_.batchFrames[step.number - 1];
  if (facts_.kind == RunKind::kParallel) return std::max(facts_.delay, LineSeconds(bytes, speed));
  return measured_ != 0 ? measuredSeconds_ / measured_ : ExchangeSeconds(bytes, speed);
}

/// The time of the speed search before it reaches the wanted speed: each speed in between costs kSends frames
/// without an answer. `speed` is set to the last one that is tried.
double Estimate::SearchSeconds(int& speed, int wanted) const {
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

int Estimate::Batches() const {
  return static_cast<int>(std::ranges::count(plan_, Kind::kBatch, &Step::kind));
}

int Estimate::BatchesDone() const {
  const auto current = plan_.begin() + static_cast<std::ptrdiff_t>(current_);
  return static_cast<int>(std::ranges::count(plan_.begin(), current, Kind::kBatch, &Step::kind));
}

/// Counts the checks that are done, because the check is the last phase of a controller.
int Estimate::ControllersDone() const {
  const auto current = plan_.begin() + static_cast<std::ptrdiff_t>(current_);
  return static_cast<int>(std::ranges::count(plan_.begin(), current, Kind::kCheck, &Step::kind));
}

}  // namespace quillon
