#include "support/fake_computer.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <utility>

namespace quillon::test {
namespace {

constexpr Nanoseconds kYieldTakes = 1ms;    // at most, where nothing is waited for
constexpr std::size_t kOutputBuffer = 512;  // bytes that can still be leaving when Write returns

Nanoseconds ToNanoseconds(double time) {
  return Nanoseconds(static_cast<std::int64_t>(std::ceil(time * 1e9)));
}

}  // namespace

FakeComputer::FakeComputer() {
  std::random_device chance;
  std::filesystem::path path;
  do {
    path = std::filesystem::temp_directory_path() / ("quillon-" + std::to_string(chance()));
  } while (!std::filesystem::create_directory(path));
  folder = path.string() + "/";
  ownFolder_ = true;
}

FakeComputer::~FakeComputer() {
  if (ownFolder_) std::filesystem::remove_all(folder);
}

std::string FakeComputer::WriteFile(const std::string& name, const std::string& contents) const {
  std::ofstream(folder + name, std::ios::binary) << contents;
  return folder + name;
}

std::string FakeComputer::ReadFile(const std::string& name) const {
  std::ifstream file(folder + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

double FakeComputer::Now() { return std::chrono::duration<double>(now_).count(); }

void FakeComputer::SleepUntil(double time) { Advance(ToNanoseconds(time)); }

void FakeComputer::When(std::function<bool()> condition, std::function<void()> action) {
  watches_.push_back({std::move(condition), std::move(action)});
}

void FakeComputer::Yield() {
  Act();
  Pass(now_ + kYieldTakes);
}

void FakeComputer::YieldUntil(double time) {
  Pass(ToNanoseconds(time));
  Act();
}

/// Lets time pass up to a moment, or to the first thing that happens before.
void FakeComputer::Pass(Nanoseconds to) {
  Nanoseconds next = to;
  if (!actions_.empty()) next = std::min(next, actions_.begin()->first);
  if (!arriving_.empty()) next = std::min(next, arriving_.begin()->first);
  if (bus && bus->NextArrival()) next = std::min(next, *bus->NextArrival());
  if (noise) next = std::min(next, now_ + kYieldTakes);
  Advance(std::max(next, now_ + 1us));
}

void FakeComputer::Act() {
  while (!actions_.empty() && actions_.begin()->first <= now_) {
    const auto action = std::move(actions_.begin()->second);
    actions_.erase(actions_.begin());
    action();
  }
  for (std::size_t i = 0; i < watches_.size(); ++i) {
    if (!watches_[i].condition()) continue;
    const auto action = std::move(watches_[i].action);
    watches_.erase(watches_.begin() + static_cast<std::ptrdiff_t>(i--));
    action();
  }
}

void FakeComputer::Advance(Nanoseconds to) {
  now_ = std::max(now_, to);
  Collect();
}

void FakeComputer::ShowBox(const std::string& text, const std::string& title, BoxKind kind) {
  boxes.push_back({text, title, kind});
  boxAnswered = false;
  if (onBox) onBox(boxes.back());
}

bool FakeComputer::Ask(const std::string& question, const std::string& title) {
  questions.push_back(title + ": " + question);
  if (replies.empty()) return true;
  const bool reply = replies.front();
  replies.pop_front();
  return reply;
}

std::string FakeComputer::ChooseFile(const std::string& title, const std::string& filter) {
  fileDialog = title + ": " + filter;
  return fileToChoose;
}

void FakeComputer::Open(int number, const LineSettings& settings) {
  if (beforeOperation) beforeOperation();
  openedPorts.push_back(number);
  open = true;
  baud = settings.baud;
  speeds.push_back(baud);
  received_.clear();
}

void FakeComputer::Close() {
  LetOut();
  open = false;
}

void FakeComputer::Configure(const LineSettings& settings) {
  Operate();
  LetOut();
  baud = settings.baud;
  speeds.push_back(baud);
}

void FakeComputer::Write(std::span<const std::uint8_t> bytes) {
  Operate();
  if (!takesBytes) {
    stuck_ += bytes.size();
    if (stuck_ > kOutputBuffer) GiveUpWaiting();
    return;
  }
  sent.push_back({now_, baud, {bytes.begin(), bytes.end()}});
  if (!script.empty()) {
    for (const Reply& reply : script.front()) arriving_.emplace(now_ + reply.after, reply.bytes);
    script.pop_front();
  } else if (bus) {
    bus->AddBytesFromTool(bytes, Format(), now_);
    Advance(bus->SendingEnds() - TimeOnLine(kOutputBuffer));
  }
}

Nanoseconds FakeComputer::TimeOnLine(std::size_t bytes) const {
  constexpr std::size_t kBitsPerByte = 11;
  return Nanoseconds(1s) * (kBitsPerByte * bytes) / baud;
}

std::size_t FakeComputer::Waiting() {
  Operate();
  Collect();
  return received_.size();
}

std::vector<std::uint8_t> FakeComputer::Read() {
  Operate();
  Collect();
  return std::exchange(received_, {});
}

void FakeComputer::Operate() {
  if (!open) throw std::logic_error("an operation on a closed device");
  if (beforeOperation) beforeOperation();
}

void FakeComputer::LetOut() {
  if (std::exchange(stuck_, 0) > 0) GiveUpWaiting();
  if (bus) Advance(bus->SendingEnds());
}

void FakeComputer::GiveUpWaiting() { Advance(now_ + TimeOnLine(kOutputBuffer) + 1s); }

void FakeComputer::Collect() {
  while (!arriving_.empty() && arriving_.begin()->first <= now_) {
    const auto& bytes = arriving_.begin()->second;
    received_.insert(received_.end(), bytes.begin(), bytes.end());
    arriving_.erase(arriving_.begin());
  }
  Bytes bytes = bus ? bus->TakeBytesForTool(Format(), now_) : Bytes{};
  if (!open) return;  // what comes to a closed port is lost
  received_.insert(received_.end(), bytes.begin(), bytes.end());
  if (!noise) return;
  bytes = noise();
  received_.insert(received_.end(), bytes.begin(), bytes.end());
}

bus::LineFormat FakeComputer::Format() const {
  return {.baud = baud, .dataBits = 8, .parity = 'N', .stopBits = 2};
}

}  // namespace quillon::test
