#include "session.h"

#include <algorithm>
#include <filesystem>
#include <random>
#include <utility>

#include "shell/start_stop.h"
#include "support/witness.h"

namespace quillon::soak {
namespace {

constexpr Nanoseconds kPatience = 40min;        // after the last step, before the operator cancels a run
constexpr Nanoseconds kLongestCancel = 10min;   // that a cancelled run may take to its end
constexpr std::size_t kCancelAtEachBox = 7;     // of a run: beside a box only Cancel can be pressed
constexpr std::uint8_t kNumberOfRefusing = 31;  // a controller that nobody asks

using enum bus::Command;

/// A row as it shows a version and the low 16 bits of a checksum.
std::string RowOf(const std::array<std::uint8_t, 3>& version, std::uint32_t sum) {
  const auto byte = [](std::uint32_t value) { return test::ToHex({static_cast<std::uint8_t>(value)}); };
  return byte(version[0]) + "/" + byte(version[1]) + "/" + byte(version[2]) + " " + byte(sum >> 8) +
         byte(sum);
}

std::string BootRowOf(int number) {
  return RowOf({1, 2, static_cast<std::uint8_t>(number)}, 0xB000u + static_cast<unsigned>(number));
}

bool IsMarked(const std::string& row) { return row.ends_with(" bold"); }

bool HasFacts(const std::string& row) { return row.find('/') != std::string::npos; }

}  // namespace

Session::Session(const Scenario& scenario, Counts& counts)
    : scenario_(scenario), counts_(counts), bus_(scenario.line) {
  for (const bus::ControllerSetup& setup : scenario.controllers) {
    bus_.Add(setup);
    present_.insert(setup.number);
  }
  for (const auto& [name, file] : scenario.files) {
    Write(name, file.text);
    contents_[name] = &file;
  }
  tool.observers = {this};
  tool.DownloadSettings = std::to_string(scenario.line.downloadBaud) + ",N,8,2";
  computer.bus = &bus_;
  computer.beforeOperation = [this] { FailLine(); };
  computer.onBox = [this](const test::ShownBox& box) {
    if (box.kind == BoxKind::kRunError && computer.boxes.size() % kCancelAtEachBox == 0) Cancel(false);
  };
}

std::string Session::Play() {
  ScheduleNextStep();
  ScheduleEnd();
  while (next_ < scenario_.steps.size() && !computer.ended)
    computer.YieldUntil(std::chrono::duration<double>(scenario_.steps[next_].at).count());
  if (!computer.ended) tool.Close();
  CheckEnd();
  return violation_;
}

/// The next step is executed at its time, in a yield of the current run or between two runs.
void Session::ScheduleNextStep() {
  if (next_ >= scenario_.steps.size()) return;
  computer.At(scenario_.steps[next_].at, [this] {
    if (computer.ended) return;
    const Step& step = scenario_.steps[next_++];
    stepAt_ = step.at;
    ScheduleNextStep();
    step.act(*this);
    RecordChoices();
    CheckControls();
  });
}

/// At last the operator cancels a run that has not ended.
void Session::ScheduleEnd() {
  const Nanoseconds last = scenario_.steps.empty() ? 0s : scenario_.steps.back().at;
  computer.At(last + kPatience, [this] {
    Cancel(false);
    tool.AbortRequested = true;  // the moves to protocol 4 show no Cancel
  });
  computer.At(last + kPatience + kLongestCancel, [this] {
    if (!running_ || computer.ended) return;
    Violate("hang: a cancelled run does not end");
    tool.Close();
  });
}

void Session::Violate(const std::string& rule) {
  if (violation_.empty()) violation_ = rule;
}

void Session::RecordChoices() {
  const auto chosen = contents_.find(std::filesystem::path(tool.FileName.Text()).filename().string());
  if (chosen != contents_.end()) run_.files.insert(chosen->second);
  run_.protocol3 |= tool.RUD3.Ticked();
  for (int y = 0; y < kControllers; ++y) {
    if (tool.C(y).Ticked()) {
      run_.ticked.insert(y);
    } else if (run_.alwaysTicked.erase(y) > 0 && running_) {
      Reach("controller unticked in a run");
    }
  }
}

void Session::PressRun(Button button) {
  if (running_) return (tool.*button).Press();  // only beeps
  if (!(tool.*button).Enabled() || !(tool.*button).Visible()) return;
  if (computer.open) Reach("port left open by a failed run");
  running_ = true;
  computer.sent.clear();
  computer.boxes.clear();
  bus_.ForgetTraffic();
  run_ = {.button = button};
  run_.portTaken = computer.Time() < takenUntil_;
  run_.disturbed = !computer.takesBytes || computer.noise;
  for (int y = 0; y < kControllers; ++y) {
    run_.rows.push_back(RowText(y));
    if (tool.C(y).Ticked()) run_.alwaysTicked.insert(y);
  }
  RecordChoices();
  (tool.*button).Press();
  CheckRun();
  running_ = false;
}

void Session::Cancel(bool byCloseBox) {
  if (!tool.message.Visible()) return;
  if (running_ && run_.framesAtCancel == kNever) {
    run_.framesAtCancel = computer.sent.size();
    const bool sent = !computer.sent.empty() && computer.sent.back().at <= stepAt_;
    if (sent && stepAt_ < bus_.SendingEnds()) Reach("Cancel while a frame leaves");
    if (failureShown_) Reach("Cancel in the pause of a failure");
  }
  byCloseBox ? tool.message.Close() : tool.message.Command1.Press();
}

void Session::Choose(const std::string& file) {
  computer.fileToChoose = file.empty() ? "" : computer.folder + file;
  tool.Command1.Press();
}

void Session::Overwrite(const std::string& name, const std::string& byName) {
  contents_[name] = &scenario_.files.at(byName);
  Write(name, contents_[name]->text);
}

void Session::PullAdapter(Nanoseconds duration) {
  pulledUntil_ = computer.Time() + duration;
  lost_ |= computer.open;
}

void Session::TakePort(Nanoseconds duration) {
  takenUntil_ = computer.Time() + duration;
  run_.portTaken = true;
}

/// The program has lost a pulled adapter until it opens the port again.
void Session::FailLine() {
  if (!computer.open) lost_ = computer.Time() < pulledUntil_;
  if (lost_) throw RunError(RunError::kDeviceFailed, "gone");
  if (!computer.open && computer.Time() < takenUntil_) throw RunError(RunError::kPortAlreadyOpen, "in use");
}

void Session::AddNoise(Nanoseconds duration) {
  computer.noise = [this, random = std::mt19937_64(scenario_.seed), last = computer.Time()]() mutable {
    Bytes bytes(static_cast<std::size_t>((computer.Time() - last) / 1ms));
    last += bytes.size() * 1ms;
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
  };
  computer.At(computer.Time() + duration, [this] { computer.noise = nullptr; });
}

void Session::StallOutput(Nanoseconds duration) {
  computer.takesBytes = false;
  run_.disturbed = true;
  computer.At(computer.Time() + duration, [this] { computer.takesBytes = true; });
}

void Session::RefuseAsOther() {
  if (computer.noise) return;
  computer.noise = [refusal = bus::CloseFrame({0x40, kNumberOfRefusing, 1, 0xE1})]() mutable {
    return std::exchange(refusal, {});
  };
  run_.disturbed = true;
  computer.At(computer.Time() + 1s, [this] { computer.noise = nullptr; });
}

std::string Session::RowText(int y) const {
  const TextBox& version = tool.info.Ver(y);
  const TextBox& checksum = tool.info.CkSum(y);
  const bool marked = version.FontBold() || checksum.FontBold();
  return version.Text() + " " + checksum.Text() + (marked ? " bold" : "");
}

/// Whether the run may have ended at any point of its way.
bool Session::Interrupted() const {
  return run_.framesAtCancel != kNever || tool.AbortRequested || computer.ended || !run_.failures.empty();
}

void Session::OnRunEvent(const RunEvent& event) {
  if (std::holds_alternative<RunStarted>(event.what)) refused_.clear();
  if (std::holds_alternative<BatchBegun>(event.what)) programming_ = true;
  if (const auto* sent = std::get_if<FrameSent>(&event.what)) send_ = sent->send;
  if (const auto* status = std::get_if<StatusShown>(&event.what)) failureShown_ = status->failure;
  if (const auto* answer = std::get_if<AnswerReceived>(&event.what)) {
    const bool good = answer->judgement == Judgement::kGood;
    if (answer->judgement == Judgement::kEcho) Reach("echo");
    if (good && send_ > 1) Reach("later send answered");
    if (good && answer->bytes.size() > 2 && answer->Address() != answer->controller)
      Reach("answer of another controller");
  }
  const auto* answered = std::get_if<CommandAnswered>(&event.what);
  if (answered && answered->command == Command::kFullChecksum) {
    programming_ = false;
    if (answered->reply == Reply::kRefused) refused_.insert(answered->controller);
  }
  if (const auto* row = std::get_if<RowFilled>(&event.what)) {
    if (row->version == "Erasing") Reach("erase refused three times");
    const bool equal = row->content == RowContent::kFlash && row->checksum == tool.info.FileCheksum.Text();
    if (equal && refused_.contains(row->controller)) Reach("checksum refused, read-back equal");
  }
  if (const auto* failure = std::get_if<RunFailure>(&event.what)) {
    if (programming_) Reach("device failed while controllers were erased");
    if (failure->number == RunError::kPortAlreadyOpen && run_.portTaken)
      Reach("port taken by another program");
  }
  if (const auto* end = std::get_if<RunEnded>(&event.what)) {
    programming_ = false;
    if (end->how == RunEnded::How::kAborted) Reach("main window closed in a run");
  }
}

void Session::CheckRun() {
  run_.failures = BoxNumbers();
  std::erase(run_.failures, 0);
  const bool failed = !run_.failures.empty();
  ++counts_.runs;
  if (IsDownload() && run_.files.size() > 1) Reach("file replaced during a download");
  for (const int y : run_.alwaysTicked) {
    if (IsDownload() && present_.contains(y) && bus_.At(y).Flash() == Bytes(0x10000, 0xFF))
      Reach("controller left erased");
  }

  const std::string name = (tool.*run_.button).Name();
  if (computer.open && (computer.ended || !failed)) Violate("port: open after " + name);
  if (tool.message.Visible() && !failed) Violate("message: open after " + name);
  if (std::ranges::count(run_.failures, RunError::kPortAlreadyOpen) > 0 && !run_.portTaken)
    Violate("port: " + name + " fails because of an earlier run");
  for (int y = 0; y < kControllers; ++y) CheckRow(y);
  CheckFramesAfterCancel();
  if (run_.button == &Quillon::Auto) return;  // it asks every number, and logs no frames
  CheckFrames();
  CheckSends();
  if (run_.button == &Quillon::ComLoad) CheckErase();
  framesToLog_.push_back(computer.sent);
}

/// Frames are for ticked controllers.
void Session::CheckFrames() {
  for (const test::SentBytes& frame : computer.sent) {
    const int to = test::AddresseeOf(frame.bytes);
    const bool toAll = run_.button == &Quillon::ComLoad && test::CommandOf(frame.bytes) == Batch;
    if (toAll ? to != -1 : !run_.ticked.contains(to))
      Violate("frame: not for a ticked one: " + test::ToHex(frame.bytes));
  }
}

/// The exchange under way may send once more, and the one after it in its command. A serial download still
/// asks what it has programmed once at each speed, on protocol 3 after a move.
void Session::CheckFramesAfterCancel() {
  if (run_.framesAtCancel == kNever) return;
  if (run_.button == &Quillon::Auto && !tool.AbortRequested) return;  // cancelled before it had begun
  const std::size_t commands = 1 + (run_.button == &Quillon::ComLoad00 ? std::size(kSpeeds) : 0);
  const std::size_t frames = computer.sent.size() - run_.framesAtCancel;
  if (frames > commands * (run_.protocol3 ? 2 : 1))
    Violate("cancel: " + std::to_string(frames) + " frames after it");
  for (std::size_t i = run_.framesAtCancel; i < computer.sent.size(); ++i) {
    const Bytes& frame = computer.sent[i].bytes;
    const bus::Command command = test::CommandOf(frame);
    const bool changesFlash = command != Check && command != ToProtocol4;
    if (test::AddresseeOf(frame) == -1 || (changesFlash && i > run_.framesAtCancel))
      Violate("cancel: " + test::ToHex(frame) + " after it");
  }
}

/// A frame for a controller that is not on the line is sent three times in a row, or a multiple of three.
void Session::CheckSends() {
  if (Interrupted() || run_.disturbed) return;
  for (std::size_t i = 0, next = 0; i < computer.sent.size(); i = next) {
    const test::SentBytes& frame = computer.sent[i];
    while (next < computer.sent.size() && computer.sent[next].bytes == frame.bytes &&
           computer.sent[next].baud == frame.baud)
      ++next;
    const int to = test::AddresseeOf(frame.bytes);
    if (to != -1 && !present_.contains(to) && (next - i) % 3 != 0)
      Violate("sends: " + std::to_string(next - i) + " of " + test::ToHex(frame.bytes));
  }
}

/// A parallel download sends batches only after each ticked controller has acknowledged its erase.
void Session::CheckErase() {
  const auto batch = std::ranges::find(
      computer.sent, Batch, [](const test::SentBytes& frame) { return test::CommandOf(frame.bytes); });
  if (batch == computer.sent.end()) return;
  for (const int y : run_.alwaysTicked) {
    const bool accepted = std::ranges::any_of(bus_.Answers(), [&](const bus::Bus::SentAnswer& answer) {
      return answer.number == y && answer.begins < batch->at && answer.bytes.size() > 3 &&
             answer.bytes[3] == 0x61;
    });
    if (!accepted) Violate("erase: batches are sent without that of " + std::to_string(y));
  }
}

/// A row with a version and a checksum is true of its controller. A row that the run did not fill may be
/// outdated if the run was interrupted, or if the controller did not take part.
void Session::CheckRow(int y) {
  const std::string row = RowText(y);
  const std::string& before = run_.rows[static_cast<std::size_t>(y)];
  const bool changed = row != before && row + " bold" != before;
  const bool ticked = run_.ticked.contains(y);
  if (changed && !ticked && row != " ") Violate("row: of one not ticked, " + row);
  if (IsMarked(row) && !ticked && run_.button != &Quillon::Auto) Violate("mark: of a former run, " + row);
  if (changed) outdated_.erase(y);
  if (!HasFacts(row)) return;
  if (!present_.contains(y)) return Violate("row: of one that is not there, " + row);
  // Two echoes of $73 in one read have the length and the CRC of an answer. The tool cannot recognise them.
  if (scenario_.line.echo && row.find(" 0173") != std::string::npos) return;
  const bus::Controller& controller = bus_.At(y);
  const std::string flash = RowOf(controller.Version(), controller.Checksum());
  if (changed) {
    const std::string facts = run_.button == &Quillon::ComBoot ? BootRowOf(y) : flash;
    if (!row.starts_with(facts)) return Violate("row: " + row + " of a controller with " + facts);
    return CheckNewRow(y);
  }
  if (row.starts_with(BootRowOf(y)) || row.starts_with(flash)) return;
  if (Interrupted() || !run_.alwaysTicked.contains(y)) outdated_.insert(y);
  if (!outdated_.contains(y)) Violate("row: left as " + row + " of a controller with " + flash);
}

/// The mark of a row that the run filled. After a download the flash shows whether the mark is right.
void Session::CheckNewRow(int y) {
  const std::string row = RowText(y);
  if (run_.button != &Quillon::Auto) {
    std::string answer = row.substr(0, 13);  // "01/02/03 1E02"
    std::ranges::replace(answer, '/', ' ');
    answersToLog_.insert(answer.insert(11, " "));
  }
  const std::string& ofFile = tool.info.FileCheksum.Text();
  const bool differs = !ofFile.empty() && ofFile != tool.info.CkSum(y).Text();
  if (run_.button == &Quillon::ComInfo && IsMarked(row) != differs) Violate("mark: wrong for " + row);
  if (!IsDownload()) return;
  if (IsMarked(row) && !Interrupted()) Violate("row: marked, but not called an error, " + row);
  const bool loaded =
      std::ranges::any_of(run_.files, [&](const HexFile* file) { return file->flash == bus_.At(y).Flash(); });
  if (!loaded && !IsMarked(row)) Violate("row: good, but the flash does not contain the image, " + row);
}

void Session::CheckControls() {
  const bool known = !tool.Protocol.Text().empty();
  const bool loads = tool.ComLoad.Enabled();
  if (tool.ComInfo.Enabled() != known || tool.ComBoot.Enabled() != known) Violate("controls: surveys");
  if (loads != tool.ComLoad00.Enabled() || (loads && !known)) Violate("controls: downloads enabled");
  if (known && !tool.FileCheksum.Text().empty() && !loads) Violate("controls: downloads disabled");
  if (tool.Cmd3to4.Visible() != tool.RUD3.Ticked() || tool.Cmd4to3.Visible() != tool.RUD3.Ticked())
    Violate("controls: moves");
  if (tool.useBB.Ticked() && !tool.useBB.Enabled()) Violate("controls: useBB");
}

void Session::CheckEnd() {
  if (computer.open) Violate("port: open after the end");
  CheckLog();
  CheckSettings();
}

/// The log contains all frames in their order, and each answer that filled a row.
void Session::CheckLog() {
  const std::string log = "\n" + Read("Log.txt");
  std::size_t from = 0;
  for (const auto& frames : framesToLog_)
    if (!test::LogHolds(log, frames, from)) Violate("log: a frame is missing");
  for (const std::string& answer : answersToLog_)
    if (log.find(answer) == std::string::npos) Violate("log: the answer with " + answer + " is missing");
}

void Session::CheckSettings() {
  if (!tool.Check1.Ticked()) {
    if (!Read("Quillon.cfg").empty()) Violate("settings: written without a tick");
    return;
  }
  Quillon again(computer.AsComputer());
  Start(again);
  if (Settings(again) != Settings(tool)) Violate("settings: read back otherwise");
  again.Close();
}

}  // namespace quillon::soak
