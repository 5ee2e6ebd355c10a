#include "bus/bus.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace bus {

Bus::Bus(LineOptions options) : options_(options), random_(options.seed) {}

Controller& Bus::Add(ControllerSetup setup) {
  return controllers_.emplace_back(std::move(setup), options_.downloadBaud);
}

Controller& Bus::At(int number) {
  for (Controller& controller : controllers_)
    if (controller.Number() == number) return controller;
  throw std::out_of_range("no controller has the number " + std::to_string(number));
}

void Bus::Send(std::span<const std::uint8_t> bytes, const LineFormat& format, Time now) {
  if (format.baud < 1) throw std::invalid_argument("a line needs a speed above 0");
  const Time start = std::max(now, sendingEnds_);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const Time begins = ByteEnd(start, i, format);
    const Time ends = ByteEnd(start, i + 1, format);
    const bool garbled = Collides(begins, ends);
    if (options_.echo) PutByte({begins, ends, format, bytes[i], garbled});
    for (Heard& frame : framer_.Add(bytes[i], begins, ends, format, garbled)) {
      if (frame.intact) HearFrame(frame);
      traffic_.push_back(std::move(frame));
    }
  }
  sendingEnds_ = ByteEnd(start, bytes.size(), format);
}

std::optional<Time> Bus::NextArrival() const {
  for (const Arriving& byte : arriving_)
    if (!byte.lost) return byte.ends;
  return std::nullopt;
}

Bytes Bus::Receive(const LineFormat& listening, Time now) {
  Bytes received;
  while (!arriving_.empty() && arriving_.front().ends <= now) {
    const Arriving& byte = arriving_.front();
    if (!byte.lost && byte.format == listening) received.push_back(byte.value);
    arriving_.pop_front();
  }
  return received;
}

void Bus::ForgetTraffic() {
  traffic_.clear();
  answers_.clear();
}

void Bus::HearFrame(const Heard& frame) {
  std::vector<Answered> together;
  for (Controller& controller : controllers_) {
    const std::optional<Answer> answer = controller.Hear(frame, random_);
    if (!answer) continue;
    const Time begins = frame.ends + options_.answerDelay + answer->extraDelay;
    answers_.push_back({controller.Number(), begins, ByteEnd(begins, answer->bytes.size(), frame.format),
                        frame.format, answer->bytes});
    const auto same = std::find_if(together.begin(), together.end(),
                                   [&](const Answered& other) { return other.begins == begins; });
    if (same == together.end()) {
      together.push_back(answers_.back());
      continue;
    }
    Bytes& joint = same->bytes;
    joint.resize(std::max(joint.size(), answer->bytes.size()), 0xFF);
    for (std::size_t i = 0; i < answer->bytes.size(); ++i) joint[i] &= answer->bytes[i];
  }
  for (const Answered& answer : together) PutAnswer(answer);
}

void Bus::PutAnswer(const Answered& answer) {
  for (std::size_t i = 0; i < answer.bytes.size(); ++i) {
    const Time begins = ByteEnd(answer.begins, i, answer.format);
    const Time ends = ByteEnd(answer.begins, i + 1, answer.format);
    const bool lost = Collides(begins, ends);
    PutByte({begins, ends, answer.format, answer.bytes[i], lost});
  }
}

void Bus::PutByte(const Arriving& byte) {
  const auto behind = std::upper_bound(arriving_.begin(), arriving_.end(), byte.ends,
                                       [](Time ends, const Arriving& other) { return ends < other.ends; });
  arriving_.insert(behind, byte);
}

/// Looks for bytes that arrive from the line at that time, and destroys them.
bool Bus::Collides(Time begins, Time ends) {
  bool collides = false;
  for (Arriving& other : arriving_) {
    if (other.begins >= ends || begins >= other.ends) continue;
    other.lost = true;
    collides = true;
  }
  return collides;
}

Time Bus::ByteEnd(Time begins, std::size_t count, const LineFormat& format) const {
  return options_.paced ? begins + TimeOf(count, format) : begins;
}

}  // namespace bus
