#include "explored_run.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "link/exchange.h"
#include "shell/wiring.h"
#include "support/test_program.h"
#include "support/witness.h"

namespace quillon::explore {
namespace {

using test::Nanoseconds;
using namespace std::chrono_literals;

constexpr int kTicked[] = {3, 5};
constexpr int kUnticked = 7;
constexpr std::uint32_t kBootChecksum = 0xB000;  // of controller 0; each has one of its own
constexpr std::uint8_t kImageProtocol = 0x41;
constexpr int kImageBaud = 19200;
constexpr int kDownloadBaud = 38400;
constexpr Nanoseconds kAnswerDelay = 5ms;
constexpr Nanoseconds kLate = 1100ms;  // later than usual: after the time-out and the pause of an answer
constexpr Nanoseconds kEchoDelay = 1ms;
constexpr Nanoseconds kAnswerAfterEcho = 600ms;
constexpr Nanoseconds kLongestRun = 30min;  // of virtual time; no run takes as long
constexpr int kMostFrames = 200;

constexpr const char* kImageName = "image.hex";

// Three batches: at 0000, at 2010 (version, rate 19200, protocol byte 41), and at 3000.
constexpr const char* kImageLines =
    ":020000040000FA\r\n:0400000001020304F2\r\n:102010000000000000313200303500333100000094\r\n"
    ":042020002000410556\r\n:02300000ABCD56\r\n:00000001FF\r\n";

Bytes ImageFlash() {
  Bytes flash(0x10000, 0xFF);
  const auto put = [&](std::size_t address, const char* digits) {
    std::ranges::copy(test::FromHex(digits), flash.begin() + static_cast<std::ptrdiff_t>(address));
  };
  put(0x0000, "01020304");
  put(0x2010, "0000000000313200303500333100000020004105");
  put(0x3000, "ABCD");
  return flash;
}

bool IsDownload(const Way& way) {
  return way.button == &Quillon::ComLoad || way.button == &Quillon::ComLoad00;
}

Bytes Damaged(Bytes answer) {
  answer[answer.size() / 2] ^= 0x10;
  return answer;
}

}  // namespace

const std::vector<Way> kWays = {
    {.name = "parallel", .button = &Quillon::ComLoad},
    {.name = "parallel-prot3", .button = &Quillon::ComLoad, .prot3 = true},
    {.name = "parallel-keep-speed", .button = &Quillon::ComLoad, .keepSpeed = true},
    {.name = "serial", .button = &Quillon::ComLoad00},
    {.name = "serial-prot3", .button = &Quillon::ComLoad00, .prot3 = true},
    {.name = "serial-echo", .button = &Quillon::ComLoad00, .echo = true},
    {.name = "flash-info", .button = &Quillon::ComInfo},
    {.name = "flash-info-echo", .button = &Quillon::ComInfo, .echo = true},
    {.name = "boot-info", .button = &Quillon::ComBoot},
    {.name = "boot-info-fall-back", .button = &Quillon::ComBoot, .ownProtocol = true},
    {.name = "to-protocol-4", .button = &Quillon::Cmd3to4, .prot3 = true},
    {.name = "to-protocol-3", .button = &Quillon::Cmd4to3, .prot3 = true},
};

const char* NameOf(Event event) {
  constexpr const char* kNames[kEvents] = {
      "delivered",    "frame-lost",     "answer-lost", "lost-for-one", "damaged", "late", "refused",
      "other-ticked", "other-unticked", "echo",        "device-fails", "cancel",  "close"};
  return kNames[static_cast<int>(event)];
}

void WriteImage(const std::string& folder) {
  std::ofstream(folder + kImageName, std::ios::binary) << kImageLines;
}

ExploredRun::ExploredRun(const Way& way, const Choices& choices, const std::string& imageFolder)
    : FakeComputer(imageFolder), way_(way), choices_(choices), tool_(AsComputer()) {
  for (const int number : {3, 5, kUnticked}) AddController(number);
  Wire(tool_);
  tool_.observers = {&results_, this};
  tool_.ComPort.AddItem("COM 1");
  tool_.ComPort.SetText("COM 1");
  for (const char* speed : kSpeeds) tool_.Vitesse.AddItem(speed);
  tool_.Vitesse.SetText("9600");
  tool_.Text1.SetText(way.echo ? "1500" : "500");
  tool_.Text2.SetText("10");
  tool_.Protocol.SetText(way.ownProtocol ? "4" : "63");
  tool_.RUD3.SetValue(way.prot3);
  tool_.useBB.SetValue(way.keepSpeed);
  tool_.DownloadSettings = std::to_string(kDownloadBaud) + ",N,8,2";
  StartLink(tool_);
  tool_.FileName.SetText(imageFolder + kImageName);
  for (int i = 0; i < kControllers; ++i) tool_.C(i).SetValue(i == 3 || i == 5);
}

/// Each controller has a flash of its own, so that no row can show another's facts unnoticed.
void ExploredRun::AddController(int number) {
  const auto own = static_cast<std::uint8_t>(number);
  bus::ControllerSetup setup{.number = number,
                             .version = {1, 2, own},
                             .bootVersion = {1, 0, own},
                             .bootChecksum = static_cast<std::uint16_t>(kBootChecksum + own),
                             .flash = {own}};
  if (way_.ownProtocol) {
    setup.protocol = 5;
    setup.bootProtocol = bus::BootProtocol::Fixed;
  }
  setup.protocol3 = way_.prot3 && way_.button != &Quillon::Cmd4to3;
  // Controller 5 of a survey holds the image; so does 7, whose answer must not stand for that of 3.
  if (way_.button == &Quillon::ComInfo && number != 3) setup.flash = ImageFlash();
  // A serial download comes to 5 at the speed and with the protocol of the image.
  if (way_.button == &Quillon::ComLoad00 && number == 5) {
    setup.baud = kImageBaud;
    setup.protocol = kImageProtocol;
  }
  const auto& added = controllers_.emplace(number, bus::Controller(setup, kDownloadBaud)).first->second;
  flashBefore_[number] = added.Flash();
}

void ExploredRun::Write(std::span<const std::uint8_t> bytes) {
  const auto choice = choices_.find(frames_++);
  const Event event = choice == choices_.end() ? Event::kDelivered : choice->second;
  const Bytes frame(bytes.begin(), bytes.end());
  const int to = test::AddresseeOf(frame);
  if (frames_ > kMostFrames) throw std::runtime_error("the run sends frames without end");
  if (to != 3 && to != 5 && (to >= 0 || way_.button != &Quillon::ComLoad))
    wrong_ = "a frame was sent to " + std::to_string(to) + "; ";
  broadcasts_.push_back(to < 0);
  if (event == Event::kDeviceFails) {
    failed_ = true;
    beforeOperation = [] { throw RunError(RunError::kDeviceFailed, "gone"); };
  }
  Bytes answer = AnswerTo(frame, event);
  std::vector<test::Reply> received;
  if (way_.echo) received.push_back({kEchoDelay, frame});
  const Nanoseconds delay = way_.echo ? kAnswerAfterEcho : kAnswerDelay;
  if (!answer.empty()) received.push_back({event == Event::kLate ? delay + kLate : delay, std::move(answer)});
  script.push_back(std::move(received));
  FakeComputer::Write(frame);
  Interfere(event);
}

/// Lets the controllers act on a frame. Returns what the tool receives; empty: nothing.
Bytes ExploredRun::AnswerTo(const Bytes& frame, Event event) {
  const int to = test::AddresseeOf(frame);
  if (to < 0) {
    if (event != Event::kFrameLost)
      for (auto& [number, controller] : controllers_)
        if (number != 3 || event != Event::kLostForOne) Deliver(frame, number);
    return {};
  }
  switch (event) {
    case Event::kFrameLost:
      return {};
    case Event::kEcho:
      return frame;
    case Event::kRefused:
      return bus::CloseFrame({frame[0], static_cast<std::uint8_t>(to), 1, 0xE1});
    case Event::kOtherTicked:
      return AnswerOfOther(frame, to == 3 ? 5 : 3);
    case Event::kOtherUnticked:
      return AnswerOfOther(frame, kUnticked);
    default: {
      const Bytes answer = Deliver(frame, to);
      if (event == Event::kAnswerLost || answer.empty()) return {};
      return event == Event::kDamaged ? Damaged(answer) : answer;
    }
  }
}

Bytes ExploredRun::Deliver(const Bytes& frame, int number) {
  const auto at = controllers_.find(number);
  if (at == controllers_.end()) return {};
  bus::ReceivedFrame received{.format = {.baud = baud}, .bytes = frame};
  const auto answer = at->second.Receive(received, random_);
  if (answer && test::CommandOf(frame) == bus::Command::Batch) ++batchesTaken_[number];
  return answer ? answer->bytes : Bytes{};
}

/// The answer of another controller, as if it had taken the frame for its own. A question is answered by what
/// that controller holds. A command is not executed by it, but accepted: the worst that a line can do.
Bytes ExploredRun::AnswerOfOther(Bytes frame, int number) {
  const bus::Command command = test::CommandOf(frame);
  if (command == bus::Command::ToProtocol4) return {0x68, 0x2F};
  const auto own = static_cast<std::uint8_t>(number);
  if (command != bus::Command::Check && command != bus::Command::Boot)
    return bus::CloseFrame({frame[0], own, 1, 0x61});
  frame.resize(3 + frame[2]);
  frame[0] = controllers_.at(number).Protocol();
  frame[1] = own;
  const int former = std::exchange(baud, controllers_.at(number).Baud());
  Bytes answer = Deliver(bus::CloseFrame(frame), number);
  baud = former;
  return answer;
}

void ExploredRun::Interfere(Event event) {
  if (event != Event::kCancel && event != Event::kClose) return;
  At(Time() + 1ms, [this, event] {
    framesAtCancel_ = frames_;
    if (event == Event::kClose) {
      tool_.Close();
    } else {
      tool_.message.Command1.Press();
    }
  });
}

std::string ExploredRun::Violation() {
  try {
    (tool_.*way_.button).Press();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  std::string wrong = wrong_ + FramesAfterCancel() + WrongEnd();
  for (const int y : kTicked) wrong += WrongVerdict(y) + WrongEvidence(y);
  if (controllers_.at(kUnticked).Flash() != flashBefore_[kUnticked]) wrong += "controller 7 was changed; ";
  return wrong;
}

/// A verdict of exit status 0 must be true of the flash. Exempt is a survey in which the same other
/// controller answered every question: such answers are equal to those of controllers that write
/// something else than their number there.
std::string ExploredRun::WrongVerdict(int y) {
  const Verdict verdict = results_.VerdictOf(y);
  const Bytes& flash = controllers_.at(y).Flash();
  const std::string who = "controller " + std::to_string(y) + " is called " + verdict.word;
  const bool compares = IsDownload(way_) || way_.button == &Quillon::ComInfo;
  const bool exempt = !IsDownload(way_) && OneOtherAnsweredAll();
  if (verdict.good && compares && flash != ImageFlash() && !exempt)
    return who + " and does not contain the image; ";
  const bool boot = way_.button == &Quillon::ComBoot;
  const std::uint32_t sum =
      boot ? kBootChecksum + static_cast<std::uint32_t>(y) : controllers_.at(y).Checksum() & 0xFFFF;
  const std::string read = results_.EvidenceOf(y).checksum;
  if (verdict.good && !read.empty() && std::stoul(read, nullptr, 16) != sum && !exempt)
    return who + " by what another controller reported; ";
  if (!IsDownload(way_) && flash != flashBefore_[y]) return who + " and was changed by a survey; ";
  return "";
}

/// The evidence about a controller, which verdicts and records contain, agrees with what happened to it.
std::string ExploredRun::WrongEvidence(int y) const {
  const Evidence evidence = results_.EvidenceOf(y);
  const std::string who = "the evidence about controller " + std::to_string(y) + " is that ";
  const bool changed = controllers_.at(y).Flash() != flashBefore_.at(y);
  if (changed && evidence.erasure == Erasure::kNone) return who + "it was not erased; ";
  const auto taken = batchesTaken_.find(y);
  const int batches = taken == batchesTaken_.end() ? 0 : taken->second;
  if (otherNumbers_.empty() && evidence.batchesAcknowledged > batches)
    return who + "it acknowledged " + std::to_string(evidence.batchesAcknowledged) + " batches; ";
  return "";
}

void ExploredRun::OnRunEvent(const RunEvent& event) {
  const auto* answer = std::get_if<AnswerReceived>(&event.what);
  if (answer == nullptr || answer->judgement != Judgement::kGood || !answer->Address()) return;
  if (*answer->Address() == answer->controller) {
    ++ownAnswers_;
  } else {
    otherNumbers_.insert(*answer->Address());
  }
}

bool ExploredRun::OneOtherAnsweredAll() const { return ownAnswers_ == 0 && otherNumbers_.size() == 1; }

/// Few frames after Cancel: the exchange under way sends no more; the check of a serial download asks once at
/// each speed that is left, on protocol 3 with a move before.
std::string ExploredRun::FramesAfterCancel() const {
  if (framesAtCancel_ < 0) return "";
  const int atEachSpeed = static_cast<int>(std::size(kSpeeds));
  const int allowed = way_.button == &Quillon::ComLoad00 ? atEachSpeed * (way_.prot3 ? 2 : 1) : 1;
  const int after = frames_ - framesAtCancel_;
  return after <= allowed ? "" : std::to_string(after) + " frames were sent after Cancel; ";
}

std::string ExploredRun::WrongEnd() const {
  std::string wrong;
  if (Time() > kLongestRun) wrong += "the run took " + std::to_string(Time() / 1min) + " min; ";
  if (tool_.run.UnderWay()) wrong += "the run did not end; ";
  if (open && !failed_) wrong += "the port is open; ";
  if (tool_.message.Visible() && !failed_) wrong += "Message is open; ";
  return wrong;
}

}  // namespace quillon::explore
