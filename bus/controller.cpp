// One simulated controller. `Receive` handles a frame in these steps:
//
//     CommandOf       recognises the command; other frames are ignored
//     IsForMe         checks the address and the protocol byte
//     CountMessage    finds the faults that affect this message; some of them prevent the answer
//     HandleMessage   executes the command and builds the answer
//     ApplyFaults     changes the answer, after the controller has acted on the message
//
// controller.h shows the bytes of each command and answer, and how a controller is programmed.
#include "bus/controller.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

namespace bus {
namespace {

constexpr std::size_t kAddresses = 0x10000;
constexpr std::size_t kFlashSize = 57342;  // bytes
constexpr std::uint8_t kErased = 0xFF;
constexpr std::int64_t kErasedSum = std::int64_t{kErased} * kAddresses;
constexpr std::uint8_t kAccepted = static_cast<std::uint8_t>(Code::Accepted);
constexpr std::uint8_t kFiller = 0x00;

// Index of each part of a question in its frame.
constexpr std::size_t kProtocolByte = 0;
constexpr std::size_t kAddress = 1;
constexpr std::size_t kLength = 2;
constexpr std::size_t kCommand = 3;
constexpr std::size_t kSpeedChoice = 5;   // of $74
constexpr std::size_t kSubCode = 6;       // of $75
constexpr std::size_t kSum = 7;           // of $75/$0F, three bytes
constexpr std::size_t kBatchAddress = 7;  // of $75/$10, two bytes
constexpr std::size_t kBatchData = 9;     // of $75/$10, up to the CRC

// Addresses of the description inside an image.
constexpr std::size_t kVersionAt2010 = 0x2010;
constexpr std::size_t kFlagsAt2020 = 0x2020;
constexpr std::size_t kProtocolAt2020 = 0x2022;
constexpr std::size_t kVersionBefore008B = 0x008A;  // the last byte of the record at 0x007B
constexpr std::size_t kFlagsAt008B = 0x008D;
constexpr std::size_t kProtocolAt008B = 0x008E;

/// The speed in bits 6 to 4 of the flags; 0 when they name none.
int FixedRate(std::uint8_t flags) {
  constexpr std::array<int, 8> kRates = {4800, 9600, 19200, 38400, 57600, 115200, 0, 0};
  return kRates[(flags >> 4) & 7];
}

std::optional<Command> Command75(const Bytes& message) {
  const std::size_t payload = message[kLength];
  if (payload < 4 || message[4] != 0xAA || message[5] != 0x55) return std::nullopt;
  const std::uint8_t subCode = message[kSubCode];
  if (subCode == 0x10 && payload >= 6) return Command::Batch;
  if (subCode == 0x0F && payload == 7) return Command::Checksum;
  if (subCode == 0x50 && payload == 4) return Command::Boot;
  return std::nullopt;
}

std::optional<Command> CommandOf(const Bytes& message) {
  if (IsTextFrame(message)) return Command::ToProtocol4;
  const std::size_t payload = message[kLength];
  switch (message[kCommand]) {
    case 0x73:
      return payload == 1 ? std::optional(Command::Check) : std::nullopt;
    case 0x55:
      return payload == 1 ? std::optional(Command::ToProtocol3) : std::nullopt;
    case 0x74:
      if (payload == 4 && message[4] == 0x55 && message[6] == 0xF0) return Command::Erase;
      return std::nullopt;
    case 0x75:
      return Command75(message);
    default:
      return std::nullopt;
  }
}

bool IsFrame(const Bytes& answer) { return answer.size() > kFrameOverhead; }

/// The frame with its payload cut or filled with zeros to `payload` bytes, and with a correct CRC.
Bytes Resized(Bytes frame, std::size_t payload) {
  frame.resize(frame.size() - kAfterPayload);
  frame.resize(kBeforePayload + payload);
  frame[kLength] = static_cast<std::uint8_t>(payload);
  return CloseFrame(std::move(frame));
}

Bytes WithCode(Bytes frame, std::uint8_t code) {
  frame[kCommand] = code;
  frame.resize(frame.size() - kAfterPayload);
  return CloseFrame(std::move(frame));
}

}  // namespace

Controller::Controller(ControllerSetup setup, int downloadBaud)
    : setup_(std::move(setup)),
      downloadBaud_(downloadBaud),
      baud_(setup_.baud),
      ownBaud_(setup_.baud),
      protocol_(setup_.protocol),
      flash_(setup_.flash),
      inProtocol4_(!setup_.protocol3) {
  const std::string name = "controller " + std::to_string(setup_.number);
  if (setup_.number < 0 || setup_.number >= kControllerNumbers)
    throw std::invalid_argument(name + ": numbers run from 0 to 31");
  if (baud_ < 1 || downloadBaud_ < 1) throw std::invalid_argument(name + ": a speed has to be above 0");
  if (!(setup_.disturbance.slowClock <= 0.5))
    throw std::invalid_argument(name + ": a clock can be up to 50 % slow");
  if (flash_.size() > kAddresses) throw std::invalid_argument(name + ": flash ends at address 0xFFFF");
  flash_.resize(kAddresses, kErased);
  flashSum_ = std::accumulate(flash_.begin(), flash_.end(), std::int64_t{0});
  for (const Fault& fault : setup_.faults) AddFault(fault);
}

void Controller::AddFault(Fault fault) {
  const bool outOfRange =
      (fault.kind == Fault::Kind::Length && (fault.value < kShortestFrame || fault.value > kLongestFrame)) ||
      (fault.kind == Fault::Kind::Short && fault.value < 1);
  if (outOfRange) throw std::invalid_argument("a fault's answer has to have a length: see Fault::value");
  faults_.push_back({fault, 0});
}

std::optional<Answer> Controller::Receive(const ReceivedFrame& frame, Random& random) {
  if (dead_) return std::nullopt;
  const std::optional<Command> command = CommandOf(frame.bytes);
  if (!command || !IsForMe(*command, frame.bytes)) return std::nullopt;
  const bool atOwnSpeed = frame.format == LineFormat{baud_};
  // The answer to the last message that changed the speed may be lost. The tool then repeats that message.
  const bool repeated = speedChange_ && frame.format == LineFormat{speedChange_->formerBaud} &&
                        frame.bytes == speedChange_->message;
  if (!atOwnSpeed && !repeated) return std::nullopt;

  const std::vector<Fault> faults = CountMessage(*command, random);
  for (const Fault& fault : faults) {
    if (fault.kind == Fault::Kind::Dead) dead_ = true;
    if (fault.kind == Fault::Kind::Dead || fault.kind == Fault::Kind::Silent) return std::nullopt;
  }
  const Bytes answer = atOwnSpeed ? HandleMessage(*command, frame.bytes) : speedChange_->answer;
  if (answer.empty()) return std::nullopt;
  return ApplyFaults({answer, {}}, frame.bytes, faults);
}

/// True when address and protocol byte are valid for such a command to this controller in its current state.
bool Controller::IsForMe(Command command, const Bytes& message) const {
  const std::uint8_t address = message[kAddress];
  const bool fixed = message[kProtocolByte] == kFixedProtocol;
  const bool own = message[kProtocolByte] == protocol_;
  switch (command) {
    case Command::ToProtocol4:
      return address == setup_.number + kTextFrameOffset;
    case Command::Batch:
      return fixed && (address == setup_.number || (address == kBroadcastAddress && inDownloadMode_));
    case Command::Check:
      return address == setup_.number && own && inProtocol4_;
    case Command::Erase:
      return address == setup_.number && own;
    case Command::Boot:
      return address == setup_.number && ((own && setup_.bootProtocol != BootProtocol::Fixed) ||
                                          (fixed && setup_.bootProtocol != BootProtocol::Own));
    case Command::Checksum:
    case Command::ToProtocol3:
      return address == setup_.number && fixed;
  }
  return false;
}

/// Counts the message for each fault that it concerns. Returns the faults that affect it.
std::vector<Fault> Controller::CountMessage(Command command, Random& random) {
  constexpr std::uint64_t kParts = 1'000'000;
  std::vector<Fault> active;
  for (CountedFault& counted : faults_) {
    const Fault& fault = counted.fault;
    if (fault.command && *fault.command != command) continue;
    ++counted.seen;
    if (counted.seen < fault.first || (fault.last != Fault::kForever && counted.seen > fault.last)) continue;
    const bool happens = fault.chance >= 1.0 ||
                         static_cast<double>(random() % kParts) < fault.chance * static_cast<double>(kParts);
    if (happens) active.push_back(fault);
  }
  return active;
}

/// Executes a message received at its own speed. Returns the answer; empty for a broadcast.
Bytes Controller::HandleMessage(Command command, const Bytes& message) {
  speedChange_.reset();
  const int formerBaud = baud_;
  const Bytes answer = Execute(command, message);
  if (baud_ != formerBaud) speedChange_ = SpeedChange{message, formerBaud, answer};
  return message[kAddress] == kBroadcastAddress ? Bytes{} : answer;
}

Bytes Controller::Execute(Command command, const Bytes& message) {
  switch (command) {
    case Command::Check:
      return CheckAnswer();
    case Command::Erase:
      return Acknowledge(Erase(message[kSpeedChoice]));
    case Command::Batch:
      return Acknowledge(WriteBatch(message));
    case Command::Checksum:
      return Acknowledge(EndProgramming(message));
    case Command::Boot:
      return BootAnswer();
    case Command::ToProtocol3:
      inProtocol4_ = !setup_.protocol3;
      return Acknowledge(Code::Accepted);
    case Command::ToProtocol4:
      inProtocol4_ = true;
      return {0x68, 0x2F};
  }
  return {};
}

Bytes Controller::AnswerFrame(const Bytes& payload) const {
  Bytes frame = {protocol_, static_cast<std::uint8_t>(setup_.number),
                 static_cast<std::uint8_t>(payload.size())};
  frame.insert(frame.end(), payload.begin(), payload.end());
  return CloseFrame(std::move(frame));
}

Bytes Controller::Acknowledge(Code code) const { return AnswerFrame({static_cast<std::uint8_t>(code)}); }

Bytes Controller::CheckAnswer() const {
  const auto version = Version();
  const std::uint32_t sum = Checksum();
  Bytes payload = {kAccepted, kFiller};
  if (setup_.form == AnswerForm::Bytes14) payload.push_back(kFiller);
  payload.insert(payload.end(), version.begin(), version.end());
  payload.push_back(static_cast<std::uint8_t>((sum >> 8) & 0xFF));
  payload.push_back(static_cast<std::uint8_t>(sum & 0xFF));
  return AnswerFrame(payload);
}

Bytes Controller::BootAnswer() const {
  Bytes payload = {kAccepted, kFiller};
  payload.insert(payload.end(), setup_.bootVersion.begin(), setup_.bootVersion.end());
  payload.push_back(static_cast<std::uint8_t>(setup_.bootChecksum >> 8));
  payload.push_back(static_cast<std::uint8_t>(setup_.bootChecksum & 0xFF));
  return AnswerFrame(payload);
}

Code Controller::Erase(std::uint8_t speedChoice) {
  constexpr std::uint8_t kToDownloadSpeed = 0xAA;
  constexpr std::uint8_t kKeepSpeed = 0xBB;
  if (speedChoice != kToDownloadSpeed && speedChoice != kKeepSpeed) return Code::Refused;
  std::fill(flash_.begin(), flash_.end(), kErased);
  flashSum_ = kErasedSum;
  wasErased_ = true;
  inDownloadMode_ = true;
  if (speedChoice == kToDownloadSpeed) baud_ = downloadBaud_;
  return Code::Accepted;
}

Code Controller::WriteBatch(const Bytes& message) {
  if (!inDownloadMode_) return Code::Refused;
  const std::size_t address =
      static_cast<std::size_t>(message[kBatchAddress] << 8 | message[kBatchAddress + 1]);
  const std::size_t count = std::min(message.size() - kAfterPayload - kBatchData, kAddresses - address);
  for (std::size_t i = 0; i < count; ++i) {
    flashSum_ += message[kBatchData + i] - flash_[address + i];
    flash_[address + i] = message[kBatchData + i];
  }
  return Code::Accepted;
}

Code Controller::EndProgramming(const Bytes& message) {
  const std::uint32_t sum =
      static_cast<std::uint32_t>(message[kSum] << 16 | message[kSum + 1] << 8 | message[kSum + 2]);
  if (inDownloadMode_) {
    inDownloadMode_ = false;
    inProtocol4_ = !setup_.protocol3;
    ApplyImageSettings();
  }
  return sum == Checksum() ? Code::Accepted : Code::Refused;
}

void Controller::ApplyImageSettings() {
  const Metadata place = FoundMetadata();
  if (place != Metadata::None) {
    const bool at2020 = place == Metadata::At2020;
    protocol_ = flash_[at2020 ? kProtocolAt2020 : kProtocolAt008B];
    const int rate = FixedRate(flash_[at2020 ? kFlagsAt2020 : kFlagsAt008B]);
    if (rate != 0) ownBaud_ = rate;
  }
  baud_ = ownBaud_;
}

/// Where the flash contains its description; None while nothing is programmed there.
Metadata Controller::FoundMetadata() const {
  const auto allows = [this](Metadata place) {
    return setup_.metadata == Metadata::Find || setup_.metadata == place;
  };
  if (allows(Metadata::At2020) && flash_[kProtocolAt2020] != kErased) return Metadata::At2020;
  if (allows(Metadata::At008B) && flash_[kProtocolAt008B] != kErased) return Metadata::At008B;
  return Metadata::None;
}

std::array<std::uint8_t, 3> Controller::Version() const {
  // From 0x2010 on the version is text: pairs of digits with one byte between them. The low half of a digit's
  // ASCII code is its value.
  const auto pair = [this](std::size_t offset) {
    const unsigned high = flash_[kVersionAt2010 + offset] & 0x0F;
    const unsigned low = flash_[kVersionAt2010 + offset + 1] & 0x0F;
    return static_cast<std::uint8_t>(high << 4 | low);
  };
  switch (FoundMetadata()) {
    case Metadata::At2020:
      return {pair(5), pair(8), pair(11)};
    case Metadata::At008B:
      return {flash_[kVersionBefore008B], flash_[kVersionBefore008B + 1], flash_[kVersionBefore008B + 2]};
    default:
      break;
  }
  if (wasErased_) return {kErased, kErased, kErased};
  return setup_.version;
}

std::uint32_t Controller::Checksum() const {
  // flashSum_ adds up 65,536 addresses, but the flash has fewer bytes. Each surplus address counts with 255.
  constexpr std::int64_t kBeyondFlash = kErasedSum - std::int64_t{kErased} * kFlashSize;
  return static_cast<std::uint32_t>(flashSum_ - kBeyondFlash) & 0xFFFFFF;
}

/// Returns the answer changed by the faults.
Answer Controller::ApplyFaults(Answer answer, const Bytes& message, const std::vector<Fault>& faults) const {
  Bytes& bytes = answer.bytes;
  for (const Fault& fault : faults) {
    const auto value = static_cast<std::size_t>(fault.value);
    switch (fault.kind) {
      case Fault::Kind::Late:
        answer.extraDelay += fault.delay;
        break;
      case Fault::Kind::Corrupt:
        bytes[bytes.size() - (IsFrame(bytes) ? 2 : 1)] ^= 0xFF;  // low byte of the CRC; of 68 2F the last
        break;
      case Fault::Kind::Code:
        if (IsFrame(bytes)) bytes = WithCode(bytes, static_cast<std::uint8_t>(fault.value));
        break;
      case Fault::Kind::Length:
        if (IsFrame(bytes)) bytes = Resized(bytes, value - kFrameOverhead);
        break;
      case Fault::Kind::Short:
        bytes.resize(std::min(bytes.size(), value));
        break;
      case Fault::Kind::Echo:
        bytes = message;
        break;
      case Fault::Kind::Silent:
      case Fault::Kind::Dead:
        break;  // there is no answer
    }
  }
  return answer;
}

}  // namespace bus
