#include "session.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "shell/start_stop.h"

namespace quillon::soak {
namespace {

constexpr Nanoseconds kPatience = 40min;  // after the last step, before the operator gives up a run
constexpr Nanoseconds kToEnd = 10min;     // that a cancelled run has to end

bus::Bus MakeBus(const Scenario& scenario) {
  bus::Bus bus(scenario.line);
  for (const bus::ControllerSetup& setup : scenario.controllers) bus.Add(setup);
  return bus;
}

/// What a row says of a version and a checksum, of which it shows the low 16 bits.
std::string RowOf(const std::array<std::uint8_t, 3>& version, std::uint32_t sum) {
  const auto byte = [](std::uint32_t value) { return test::ToHex({static_cast<std::uint8_t>(value)}); };
  return byte(version[0]) + "/" + byte(version[1]) + "/" + byte(version[2]) + " " + byte(sum >> 8) +
         byte(sum);
}

}  // namespace

Counts& Counts::operator+=(const Counts& more) {
  runs += more.runs;
  frames += more.frames;
  cancelled += more.cancelled;
  failed += more.failed;
  goodRows += more.goodRows;
  for (std::size_t i = 0; i < reached.size(); ++i) reached[i] += more.reached[i];
  return *this;
}

const char* NameOf(Probe probe) {
  constexpr const char* kNames[] = {"checksum refused, read-back equal",
                                    "erase refused three times",
                                    "later send answered",
                                    "answer of another controller",
                                    "echo",
                                    "Cancel in the drain",
                                    "Cancel in the pause of a failure",
                                    "main window closed in a run",
                                    "controller unticked in a run",
                                    "file replaced during a download",
                                    "device failed while controllers were erased",
                                    "controller left erased",
                                    "port left open by a failed run",
                                    "port taken by another program"};
  static_assert(std::size(kNames) == static_cast<std::size_t>(Probe::kCount));
  return kNames[static_cast<std::size_t>(probe)];
}

Session::Session(const Scenario& scenario)
    : bus(MakeBus(scenario)), tool(computer.AsComputer()), scenario_(scenario) {
  for (const bus::ControllerSetup& setup : scenario.controllers)
    flashAtStart_[setup.number] = bus.At(setup.number).Flash();
  for (const auto& [name, contents] : scenario.files) WriteFile(name, contents);
  for (const auto& [name, image] : scenario.images) imageIn_[name] = name;
  WriteFile("Quillon.cfg", scenario.settings);
  computer.bus = &bus;
  computer.beforeOperation = [this] { FailLine(); };
  computer.onBox = [this](const test::ShownBox& box) {
    constexpr std::size_t kCancelAtEach = 7;  // box; Cancel alone is in reach beside one
    if (box.kind == BoxKind::kRunError && computer.boxes.size() % kCancelAtEach == 0) Cancel(false);
  };
}

std::string Session::Play() {
  tool.observers = {this};
  Start(tool);
  NoteChoices();
  ArmNext();
  EndAtLast();
  while (next_ < scenario_.steps.size() && !computer.ended) {
    computer.YieldUntil(std::chrono::duration<double>(scenario_.steps[next_].at).count());
  }
  if (!computer.ended) tool.Close();
  LookAfterEnd();
  return broken_;
}

/// The next step waits for its time, in a yield of the current run or between two runs.
void Session::ArmNext() {
  if (next_ >= scenario_.steps.size()) return;
  computer.At(scenario_.steps[next_].at, [this] {
    if (computer.ended) return;
    const Step& step = scenario_.steps[next_++];
    stepAt_ = step.at;
    ArmNext();
    step.act(*this);
    NoteChoices();
    LookAtControls();
  });
}

/// In the end the operator cancels whatever still runs.
void Session::EndAtLast() {
  const Nanoseconds last = scenario_.steps.empty() ? 0s : scenario_.steps.back().at;
  computer.At(last + kPatience, [this] {
    Cancel(false);
    tool.AbortRequested = true;  // the moves to protocol 4 show no Cancel
  });
  computer.At(last + kPatience + kToEnd, [this] {
    if (!running_ || computer.ended) return;
    Complain("hang: a cancelled run does not end");
    tool.Close();
  });
}

void Session::Complain(const std::string& what) {
  if (broken_.empty()) broken_ = what;
}

void Session::NoteChoices() {
  const auto chosen = imageIn_.find(std::filesystem::path(tool.FileName.Text()).filename().string());
  if (chosen != imageIn_.end()) run_.images.insert(chosen->second);
  run_.mayKeepSpeed |= tool.useBB.Enabled();
  run_.protocol3 |= tool.RUD3.Ticked();
  for (int i = 0; i < kControllers; ++i) {
    if (!tool.C(i).Ticked()) {
      if (run_.alwaysTicked.erase(i) > 0 && running_) Reach(Probe::kUntickedInRun);
      continue;
    }
    everTicked_.insert(i);
    run_.ticked.insert(i);
  }
}

void Session::Press(Button button) {
  if (running_) {
    (tool.*button).Press();  // only beeps
    return;
  }
  if (!(tool.*button).Enabled() || !(tool.*button).Visible()) return;
  running_ = true;
  run_ = {.button = button,
          .firstFrame = computer.sent.size(),
          .firstBox = computer.boxes.size(),
          .firstAnswer = bus.Answers().size(),
          .timeOut = tool.Text1.Text(),
          .speed = tool.Vitesse.Text(),
          .portTaken = computer.Time() < takenUntil_,
          .disturbed = !computer.takesBytes || computer.noise};
  if (computer.open) Reach(Probe::kPortLeftOpen);
  for (int i = 0; i < kControllers; ++i) {
    if (tool.C(i).Ticked()) run_.alwaysTicked.insert(i);
  }
  for (int y = 0; y < kControllers; ++y) run_.rows.push_back(RowText(y));
  NoteChoices();
  (tool.*button).Press();
  LookAfterRun();
  running_ = false;
}

void Session::Cancel(bool byTheFrame) {
  if (!tool.message.Visible()) return;
  if (running_ && run_.framesAtCancel == kNever) {
    run_.framesAtCancel = computer.sent.size();
    const bool leaving = run_.firstFrame < computer.sent.size() && computer.sent.back().at <= stepAt_;
    if (leaving && stepAt_ < bus.SendingEnds()) Reach(Probe::kCancelInDrain);
    if (failureStatus_) Reach(Probe::kCancelInPause);
  }
  if (byTheFrame) {
    tool.message.Close();
  } else {
    tool.message.Command1.Press();
  }
}

void Session::Leave() {
  if (framesAtExit_ == kNever) framesAtExit_ = computer.sent.size();
  tool.ComClose.Press();
}

void Session::Tick(int number, bool ticked) { tool.C(number).SetValue(ticked); }

void Session::Choose(const std::string& file) {
  computer.fileToChoose = file.empty() ? "" : computer.folder + file;
  tool.Command1.Press();
}

void Session::WriteFile(const std::string& name, const std::string& contents) {
  std::ofstream(computer.folder + name, std::ios::binary) << contents;
}

void Session::Overwrite(const std::string& name, const std::string& byName) {
  WriteFile(name, scenario_.files.at(byName));
  imageIn_[name] = byName;
}

void Session::RemoveFile(const std::string& name) {
  std::filesystem::remove(computer.folder + name);
  imageIn_.erase(name);
}

void Session::PullAdapter(Nanoseconds howLong) {
  pulledUntil_ = computer.Time() + howLong;
  lost_ |= computer.open;
}

void Session::TakePort(Nanoseconds howLong) {
  takenUntil_ = computer.Time() + howLong;
  run_.portTaken = true;
}

/// A pulled adapter is lost to the program until the port is opened again.
void Session::FailLine() {
  if (!computer.open) lost_ = computer.Time() < pulledUntil_;
  if (lost_) throw RunError(RunError::kDeviceFailed, "gone");
  if (!computer.open && computer.Time() < takenUntil_) throw RunError(RunError::kPortAlreadyOpen, "in use");
}

void Session::AddNoise(std::uint64_t noiseSeed, Nanoseconds howLong) {
  computer.noise = [this, random = std::mt19937_64(noiseSeed), last = computer.Time()]() mutable {
    const auto count = (computer.Time() - last) / 1ms;
    last += count * 1ms;
    Bytes bytes(static_cast<std::size_t>(count));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
  };
  computer.At(computer.Time() + howLong, [this] { computer.noise = nullptr; });
}

void Session::StallOutput(Nanoseconds howLong) {
  computer.takesBytes = false;
  run_.disturbed = true;
  computer.At(computer.Time() + howLong, [this] { computer.takesBytes = true; });
}

void Session::RefuseAsOther() {
  if (computer.noise) return;
  constexpr std::uint8_t kOther = 31;
  computer.noise = [refusal = bus::CloseFrame({0x40, kOther, 1, 0xE1})]() mutable {
    return std::exchange(refusal, {});
  };
  run_.disturbed = true;
  computer.At(computer.Time() + 1s, [this] { computer.noise = nullptr; });
}

std::string Session::RowText(int y) const {
  const bool marked = tool.info.Ver(y).FontBold() || tool.info.CkSum(y).FontBold();
  return tool.info.Ver(y).Text() + " " + tool.info.CkSum(y).Text() + (marked ? " bold" : "");
}

/// Whether a run-error box was shown since the run began; with a number, that error.
bool Session::FailureShown(int number) const {
  const std::string start = number == 0 ? "Error #" : "Error #  " + std::to_string(number) + "\r";
  for (std::size_t i = run_.firstBox; i < computer.boxes.size(); ++i) {
    if (computer.boxes[i].text.starts_with(start)) return true;
  }
  return false;
}

/// Whether the run may have ended at any point of its way.
bool Session::Interrupted() const {
  return run_.framesAtCancel != kNever || tool.AbortRequested || computer.ended || FailureShown();
}

void Session::Reach(Probe probe) { ++counts_.reached[static_cast<std::size_t>(probe)]; }

void Session::OnRunEvent(const RunEvent& event) {
  const auto* sent = std::get_if<FrameSent>(&event.what);
  const auto* answer = std::get_if<AnswerReceived>(&event.what);
  const auto* command = std::get_if<CommandAnswered>(&event.what);
  const auto* row = std::get_if<RowFilled>(&event.what);
  const auto* status = std::get_if<StatusShown>(&event.what);
  const auto* failure = std::get_if<RunFailure>(&event.what);
  const auto* end = std::get_if<RunEnded>(&event.what);
  if (std::holds_alternative<RunStarted>(event.what)) refused_.clear();
  if (std::holds_alternative<BatchBegun>(event.what)) programming_ = true;
  if (sent) send_ = sent->send;
  if (status) failureStatus_ = status->failure;
  if (answer && answer->judgement == Judgement::kEcho) Reach(Probe::kEcho);
  if (answer && answer->judgement == Judgement::kGood) {
    if (send_ > 1) Reach(Probe::kLaterSend);
    if (answer->bytes.size() > 2 && answer->Address() != answer->controller) Reach(Probe::kOtherAnswered);
  }
  if (command && command->command == Command::kFullChecksum) {
    programming_ = false;
    if (command->reply == Reply::kRefused) refused_.insert(command->controller);
  }
  if (row && row->version == "Erasing") Reach(Probe::kRefusedErase);
  if (row && row->content == RowContent::kFlash && refused_.contains(row->controller) &&
      row->checksum == tool.info.FileCheksum.Text())
    Reach(Probe::kRefusedButEqual);
  if (failure && programming_) Reach(Probe::kFailedWhileErased);
  if (failure && failure->number == RunError::kPortAlreadyOpen && run_.portTaken) Reach(Probe::kPortTaken);
  if (end) programming_ = false;
  if (end && end->how == RunEnded::How::kAborted) Reach(Probe::kClosedInRun);
}

void Session::LookAfterRun() {
  counts_ += {.runs = 1,
              .frames = computer.sent.size() - run_.firstFrame,
              .cancelled = run_.framesAtCancel != kNever,
              .failed = FailureShown()};
  const std::string name = (tool.*run_.button).Name();
  const bool download = run_.button == &Quillon::ComLoad || run_.button == &Quillon::ComLoad00;
  if (download && run_.images.size() > 1) Reach(Probe::kImageReplaced);
  for (const int y : run_.alwaysTicked) {
    if (download && flashAtStart_.contains(y) && bus.At(y).Flash() == Bytes(0x10000, 0xFF))
      Reach(Probe::kErasedAndLeft);
  }
  if (run_.button == &Quillon::Auto) {
    autoRan_ = true;
    if (tool.Text1.Text() != run_.timeOut) Complain("borrowed: Auto leaves its own time-out in Text1");
    if (!run_.speed.empty() && tool.Vitesse.Text() != run_.speed) Complain("borrowed: Auto leaves its speed");
  } else {
    framesToLog_.emplace_back(computer.sent.begin() + static_cast<std::ptrdiff_t>(run_.firstFrame),
                              computer.sent.end());
  }
  if (computer.open && (computer.ended || !FailureShown())) Complain("port: open after " + name);
  if (tool.message.Visible() && !FailureShown()) Complain("message: open after " + name);
  if (FailureShown(RunError::kPortAlreadyOpen) && !run_.portTaken)
    Complain("port: " + name + " fails because of an earlier run");
  LookAtFrames();
  LookAtFramesAfterCancel();
  LookAtSends();
  LookAtErase();
  LookAtRows();
}

void Session::LookAtFrames() {
  if (run_.button == &Quillon::Auto) return;  // which asks every number
  const bool parallel = run_.button == &Quillon::ComLoad;
  const bool atDownloadSpeed = !run_.mayKeepSpeed && !FailureShown();
  for (std::size_t i = run_.firstFrame; i < computer.sent.size(); ++i) {
    const Bytes& frame = computer.sent[i].bytes;
    const int to = test::AddresseeOf(frame);
    const bus::Command command = test::CommandOf(frame);
    const bool toAll = parallel && command == bus::Command::Batch;
    const bool programs = command == bus::Command::Batch || command == bus::Command::Checksum;
    if (programs && atDownloadSpeed && computer.sent[i].baud != scenario_.line.downloadBaud) {
      Complain("speed: " + std::to_string(computer.sent[i].baud) + " for " + test::ToHex(frame));
    }
    if (toAll ? to != -1 : !run_.ticked.contains(to))
      Complain("frame: not for a ticked one: " + test::ToHex(frame));
  }
}

/// The exchange under way may send once more, and the one after it in its command. What a serial download
/// has programmed is still asked once at each speed.
void Session::LookAtFramesAfterCancel() {
  if (run_.framesAtCancel == kNever) return;
  if (run_.button == &Quillon::Auto && !tool.AbortRequested) return;  // before its opening forgot it
  const std::size_t commands = std::size(kSpeeds) * (run_.button == &Quillon::ComLoad00 ? 1 : 0) + 1;
  const std::size_t allowed = run_.protocol3 ? 2 * commands : commands;
  const std::size_t sent = computer.sent.size() - run_.framesAtCancel;
  if (sent > allowed) Complain("cancel: " + std::to_string(sent) + " frames after it");
  for (std::size_t i = run_.framesAtCancel; i < computer.sent.size(); ++i) {
    if (!MayFollowCancel(i)) Complain("cancel: " + test::ToHex(computer.sent[i].bytes) + " after it");
  }
}

/// A question or a move to protocol 4. Anything else only as the first frame: the one under way once more, or
/// the one whose status line stood; but never a further batch, no erase of what was programmed, and no
/// checksum for one more controller.
bool Session::MayFollowCancel(std::size_t frame) const {
  using enum bus::Command;
  const Bytes& bytes = computer.sent[frame].bytes;
  const bus::Command command = test::CommandOf(bytes);
  if (test::AddresseeOf(bytes) == -1) return false;
  if (command == Check || command == ToProtocol4) return true;
  if (frame != run_.framesAtCancel) return false;
  if (frame == run_.firstFrame) return command != Batch;
  const Bytes& before = computer.sent[frame - 1].bytes;
  if (bytes == before) return true;
  if (test::CommandOf(before) == Checksum) return false;
  return test::CommandOf(before) == Batch ? command == Checksum : command != Batch;
}

/// A controller that is not on the line answers nothing, so each frame for it is sent three times in a row,
/// or a multiple of three.
void Session::LookAtSends() {
  if (run_.button == &Quillon::Auto || Interrupted() || run_.disturbed) return;
  for (std::size_t i = run_.firstFrame, next = i; i < computer.sent.size(); i = next) {
    const test::SentBytes& frame = computer.sent[i];
    while (next < computer.sent.size() && computer.sent[next].bytes == frame.bytes &&
           computer.sent[next].baud == frame.baud)
      ++next;
    const int to = test::AddresseeOf(frame.bytes);
    if (to != -1 && !flashAtStart_.contains(to) && (next - i) % 3 != 0)
      Complain("sends: " + std::to_string(next - i) + " of " + test::ToHex(frame.bytes));
  }
}

/// A parallel download sends batches only when each ticked controller has acknowledged its erase.
void Session::LookAtErase() {
  if (run_.button != &Quillon::ComLoad) return;
  const auto begin = computer.sent.begin() + static_cast<std::ptrdiff_t>(run_.firstFrame);
  const auto batch = std::find_if(begin, computer.sent.end(), [](const test::SentBytes& frame) {
    return test::CommandOf(frame.bytes) == bus::Command::Batch;
  });
  if (batch == computer.sent.end()) return;
  for (const int y : run_.alwaysTicked) {
    const auto& answers = bus.Answers();
    const bool accepted = std::any_of(answers.begin() + static_cast<std::ptrdiff_t>(run_.firstAnswer),
                                      answers.end(), [&](const bus::Bus::SentAnswer& answer) {
                                        return answer.number == y && answer.begins < batch->at &&
                                               answer.bytes.size() > 3 && answer.bytes[3] == 0x61;
                                      });
    if (!accepted) Complain("erase: batches are sent without that of " + std::to_string(y));
  }
}

/// Looks at each row: a run may leave one as it was that is no longer true.
void Session::LookAtRows() {
  for (int y = 0; y < kControllers; ++y) {
    const std::string row = RowText(y);
    const std::string& before = run_.rows[static_cast<std::size_t>(y)];
    const bool changed = row != before && row + " bold" != before;
    if (changed && !run_.ticked.contains(y) && row != " ") Complain("row: of one not ticked, " + row);
    LookAtMark(y);
    if (row.find('/') != std::string::npos) LookAtFacts(y, changed);
    if (changed && row.find('/') == std::string::npos) outdated_.erase(y);
  }
}

/// A run but Auto begins with rows that are not marked.
void Session::LookAtMark(int y) {
  const bool marked = RowText(y).ends_with("bold");
  if (marked && run_.button != &Quillon::Auto && !run_.ticked.contains(y))
    Complain("mark: that of a former run is left, " + RowText(y));
}

/// A row with a version and a checksum is true of its controller. A row that the run did not change may be
/// outdated when the run was interrupted, or when the controller did not take part.
void Session::LookAtFacts(int y, bool changed) {
  const std::string row = RowText(y);
  const auto setup = std::find_if(scenario_.controllers.begin(), scenario_.controllers.end(),
                                  [y](const bus::ControllerSetup& one) { return one.number == y; });
  if (setup == scenario_.controllers.end()) return Complain("row: of one that is not there, " + row);
  // Two echoes of $73 in one read have the length and the CRC of an answer: known, and left as it is.
  if (scenario_.line.echo && row.find(" 0173") != std::string::npos) return;
  const bus::Controller& controller = bus.At(y);
  const std::string boot = RowOf(setup->bootVersion, setup->bootChecksum);
  const std::string flash = RowOf(controller.Version(), controller.Checksum());
  const bool ofBoot = run_.button == &Quillon::ComBoot;
  if (changed) {
    outdated_.erase(y);
    const std::string& own = ofBoot ? boot : flash;
    if (!row.starts_with(own)) return Complain("row: " + row + " of a controller with " + own);
    return LookAtNewRow(y);
  }
  if (row.starts_with(boot) || row.starts_with(flash)) return;
  if (Interrupted() || !run_.alwaysTicked.contains(y)) outdated_.insert(y);
  if (!outdated_.contains(y)) Complain("row: left as " + row + " of a controller with " + flash);
}

/// The mark of a row that the run filled, and for a download the witness of its verdict.
void Session::LookAtNewRow(int y) {
  ++counts_.goodRows;
  const std::string row = RowText(y);
  const bool marked = row.ends_with("bold");
  if (run_.button != &Quillon::Auto) {
    std::string digits = row.substr(0, row.find(" bold"));
    std::erase_if(digits, [](char c) { return c == '/' || c == ' '; });
    for (std::size_t at = 2; at < digits.size(); at += 3) digits.insert(at, " ");
    answersToLog_.insert(digits);
  }
  if (run_.button == &Quillon::ComInfo) {
    const std::string file = tool.info.FileCheksum.Text();
    if (marked != (!file.empty() && file != tool.info.CkSum(y).Text())) Complain("mark: wrong for " + row);
  }
  if (run_.button != &Quillon::ComLoad && run_.button != &Quillon::ComLoad00) return;
  if (marked && !Interrupted()) Complain("row: marked, but not called an error, " + row);
  const bool held = std::any_of(run_.images.begin(), run_.images.end(), [&](const std::string& file) {
    return scenario_.images.at(file) == bus.At(y).Flash();
  });
  if (!held && !marked) Complain("row: good, but the flash does not hold the file's image, " + row);
}

void Session::LookAtControls() {
  const bool known = !tool.Protocol.Text().empty();
  const bool loads = tool.ComLoad.Enabled();
  if (tool.ComInfo.Enabled() != known || tool.ComBoot.Enabled() != known) Complain("controls: surveys");
  if (loads != tool.ComLoad00.Enabled() || (loads && !known)) Complain("controls: downloads enabled");
  if (known && !tool.FileCheksum.Text().empty() && !loads) Complain("controls: downloads disabled");
  if (!running_ && tool.Auto.Enabled() != known && !autoRan_) Complain("controls: Auto");
  if (tool.Cmd3to4.Visible() != tool.RUD3.Ticked() || tool.Cmd4to3.Visible() != tool.RUD3.Ticked())
    Complain("controls: moves");
  if (tool.useBB.Ticked() && !tool.useBB.Enabled()) Complain("controls: useBB");
}

std::string Session::ReadBack(const std::string& name) const {
  std::ifstream file(computer.folder + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Session::LookAfterEnd() {
  if (computer.open) Complain("port: open after the end");
  if (framesAtExit_ != kNever && computer.sent.size() != framesAtExit_) Complain("exit: a frame after it");
  const std::string log = "\n" + ReadBack("Log.txt");
  std::size_t from = 0;
  for (const auto& frames : framesToLog_)
    if (!test::LogHolds(log, frames, from)) Complain("log: a frame is missing");
  for (const std::string& answer : answersToLog_) {
    const std::size_t at = log.find(answer);
    const std::size_t begin = at == std::string::npos ? at : log.rfind('\n', at) + 1;
    if (at == std::string::npos || log.compare(begin, 4, "Recu") != 0)
      Complain("log: the answer with " + answer + " is missing");
  }
  for (const auto& [number, flash] : flashAtStart_) {
    if (!everTicked_.contains(number) && bus.At(number).Flash() != flash)
      Complain("changed: controller " + std::to_string(number) + " was never ticked");
  }
  if (!tool.Check1.Ticked()) {
    if (ReadBack("Quillon.cfg") != scenario_.settings) Complain("settings: written without a tick");
    return;
  }
  Quillon again(computer.AsComputer());
  Start(again);
  const auto settings = [](Quillon& program) {
    std::vector<std::string> all = {program.Text1.Text(), program.Text2.Text(), program.Protocol.Text(),
                                    program.ComPort.Text(), program.Vitesse.Text()};
    for (int i = 0; i < kControllers; ++i) all.push_back(std::to_string(program.C(i).Value()));
    for (const CheckBox* box : {&program.ChkProto, &program.RUD3})
      all.push_back(std::to_string(box->Value()));
    return all;
  };
  if (settings(again) != settings(tool)) Complain("settings: read back otherwise");
  again.Close();
}

}  // namespace quillon::soak
