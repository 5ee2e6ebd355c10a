// Simulates a serial bus in memory, for tests and for the program quillon-bus. The caller passes the time, so
// a test needs no real waiting. Each byte has the times at which it begins and ends, so overlaps are found:
//
//     tool sends    -> Framer finds frames -> each controller answers -> arriving_ (ordered by the end)
//     tool receives <- the bytes of arriving_ whose time has come
//
// Answers that begin at the same moment are combined bit by bit, as on a real line. Other bytes that overlap
// are destroyed: the tool does not receive them, and no controller acts on a frame that lost one.
#include "bus/bus.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace bus {
namespace {

/// Adds the bytes of one more sender to those on the line. The line is 0 where any sender sends a 0. Where no
/// sender is left it is idle, which is 1.
void PullDown(Bytes& line, const Bytes& sent) {
  constexpr std::uint8_t kIdle = 0xFF;
  line.resize(std::max(line.size(), sent.size()), kIdle);
  for (std::size_t i = 0; i < sent.size(); ++i) line[i] &= sent[i];
}

}  // namespace

// Another seed for idleRandom_, so that the two do not produce the same numbers.
Bus::Bus(LineOptions options) : options_(options), random_(options.seed), idleRandom_(~options.seed) {
  ScheduleIdleByte({});
}

Controller& Bus::Add(ControllerSetup setup) {
  return controllers_.emplace_back(std::move(setup), options_.downloadBaud);
}

Controller& Bus::At(int number) {
  for (Controller& controller : controllers_)
    if (controller.Number() == number) return controller;
  throw std::out_of_range("no controller has the number " + std::to_string(number));
}

void Bus::AddBytesFromTool(std::span<const std::uint8_t> bytes, const LineFormat& format, Time now) {
  if (format.baud < 1) throw std::invalid_argument("a line needs a speed above 0");
  const Time start = std::max(now, sendingEnds_);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const Time begins = ByteEnd(start, i, format);
    const Time ends = ByteEnd(start, i + 1, format);
    const Reception reception = DestroyOverlapped(begins, ends);
    if (options_.echo) PutByte({begins, ends, format, bytes[i], reception});
    for (ReceivedFrame& frame : framer_.Add(bytes[i], begins, ends, format, reception)) {
      if (frame.intact) DeliverFrame(frame);
      traffic_.push_back(std::move(frame));
    }
  }
  sendingEnds_ = ByteEnd(start, bytes.size(), format);
}

std::optional<Time> Bus::NextArrival() const {
  for (const Arriving& byte : arriving_)
    if (byte.reception == Reception::Clean) return ArrivalOf(byte);
  return std::nullopt;
}

Bytes Bus::TakeBytesForTool(const LineFormat& listening, Time now) {
  Bytes received;
  while (!arriving_.empty() && ArrivalOf(arriving_.front()) <= now) {
    const Arriving byte = arriving_.front();
    arriving_.pop_front();
    const bool understood = byte.format == listening || byte.sender == Sender::Nobody;
    if (byte.reception == Reception::Clean && understood) received.push_back(byte.value);
    if (byte.sender == Sender::Nobody) ScheduleIdleByte(byte.ends);
  }
  return received;
}

void Bus::ForgetTraffic() {
  traffic_.clear();
  answers_.clear();
}

/// Passes an intact frame to all controllers and puts their answers on the line.
void Bus::DeliverFrame(const ReceivedFrame& frame) {
  std::map<Time, Transmission> transmissions;  // by the moment at which they begin
  for (Controller& controller : controllers_) {
    const Disturbance& disturbance = controller.GetDisturbance();
    // A controller ignores a frame that reaches it damaged.
    if (Damage(frame.bytes, disturbance, frame.format.baud, random_) != frame.bytes) continue;
    const std::optional<Answer> answer = controller.Receive(frame, random_);
    if (!answer) continue;
    const Time begins = frame.ends + options_.answerDelay + answer->extraDelay;
    const Time ends = ByteEnd(begins, answer->bytes.size(), frame.format, disturbance.slowClock);
    answers_.push_back({controller.Number(), begins, ends, frame.format, answer->bytes});
    Combine(answers_.back(), disturbance, transmissions);
  }
  for (const auto& [begins, transmission] : transmissions) PutAnswer(transmission, begins, frame.format);
}

/// Adds an answer, with its damage, to the transmission that begins at the same moment.
void Bus::Combine(const SentAnswer& answer, const Disturbance& disturbance,
                  std::map<Time, Transmission>& transmissions) {
  Bytes bytes = Damage(answer.bytes, disturbance, answer.format.baud, random_);
  Time begins = answer.begins;
  if (Happens(disturbance.lostStart, random_)) {
    bytes.erase(bytes.begin());
    begins = ByteEnd(begins, 1, answer.format, disturbance.slowClock);
  }
  Transmission& transmission = transmissions[begins];
  transmission.slowClock = disturbance.slowClock;  // of several controllers, that of the last one is used
  PullDown(transmission.bytes, bytes);
}

void Bus::PutAnswer(const Transmission& answer, Time answerBegins, const LineFormat& format) {
  for (std::size_t i = 0; i < answer.bytes.size(); ++i) {
    const Time begins = ByteEnd(answerBegins, i, format, answer.slowClock);
    const Time ends = ByteEnd(answerBegins, i + 1, format, answer.slowClock);
    const Reception reception = DestroyOverlapped(begins, ends);
    PutByte({begins, ends, format, answer.bytes[i], reception});
  }
}

void Bus::PutByte(const Arriving& byte) {
  longestByte_ = std::max(longestByte_, byte.ends - byte.begins);
  const auto later = std::upper_bound(arriving_.begin(), arriving_.end(), byte.ends,
                                      [](Time ends, const Arriving& other) { return ends < other.ends; });
  arriving_.insert(later, byte);
}

/// Destroys the bytes on their way to the tool that overlap the time from `begins` to `ends`. Returns how a
/// byte sent in that time is received: Garbled when a station had sent one of the others.
Reception Bus::DestroyOverlapped(Time begins, Time ends) {
  Reception ownByte = Reception::Clean;
  const auto endsAfter = [](Time moment, const Arriving& byte) { return moment < byte.ends; };
  auto other = std::upper_bound(arriving_.begin(), arriving_.end(), begins, endsAfter);
  // A byte takes at most longestByte_. So those that end later than `ends + longestByte_` begin after `ends`.
  for (; other != arriving_.end() && other->ends - longestByte_ < ends; ++other) {
    if (other->begins >= ends) continue;
    other->reception = Reception::Garbled;
    if (other->sender == Sender::Station) ownByte = Reception::Garbled;
  }
  return ownByte;
}

/// When the last of `count` bytes that begin at `begins` is sent. Unpaced bytes take no time.
Time Bus::ByteEnd(Time begins, std::size_t count, const LineFormat& format, double slowClock) const {
  if (!options_.paced) return begins;
  return begins + std::chrono::duration_cast<Time>(TimeOf(count, format) / (1 - slowClock));
}

/// When the adapter passes a byte on to the tool: at the end of the byte, rounded up to a multiple of the
/// adapter's latency.
Time Bus::ArrivalOf(const Arriving& byte) const {
  if (options_.latency == Time{}) return byte.ends;
  const auto periods = (byte.ends.count() + options_.latency.count() - 1) / options_.latency.count();
  return periods * options_.latency;
}

/// Schedules the next random byte of a line whose bias is too weak, if this line is such a line. The byte is
/// destroyed unless the line is idle at its time. Its arrival schedules the one after it (TakeBytesForTool).
void Bus::ScheduleIdleByte(Time after) {
  if (options_.idleInterval == Time{}) return;
  const Time begins = after + RandomInterval(options_.idleInterval, idleRandom_);
  const LineFormat format;
  const Time ends = ByteEnd(begins, 1, format);
  const auto overlaps = [&](const Arriving& byte) { return byte.begins < ends && begins < byte.ends; };
  const bool idle = begins >= sendingEnds_ && std::none_of(arriving_.begin(), arriving_.end(), overlaps);
  const auto value = static_cast<std::uint8_t>(idleRandom_());
  PutByte({begins, ends, format, value, idle ? Reception::Clean : Reception::Garbled, Sender::Nobody});
}

}  // namespace bus
