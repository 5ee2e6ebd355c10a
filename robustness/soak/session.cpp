#include "session.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

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
  return *this;
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
    if (!tool.C(i).Ticked()) continue;
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
          .timeOut = tool.Text1.Text(),
          .speed = tool.Vitesse.Text()};
  for (int y = 0; y < kControllers; ++y) run_.rows.push_back(RowText(y));
  NoteChoices();
  (tool.*button).Press();
  LookAfterRun();
  running_ = false;
}

void Session::Cancel(bool byTheFrame) {
  if (!tool.message.Visible()) return;
  if (running_ && run_.framesAtCancel == kNever) run_.framesAtCancel = computer.sent.size();
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

void Session::TakePort(Nanoseconds howLong) { takenUntil_ = computer.Time() + howLong; }

/// A pulled adapter stays lost to the program until it is opened anew.
void Session::FailLine() {
  if (!computer.open) lost_ = computer.Time() < pulledUntil_;
  if (lost_) throw RunError(RunError::kDeviceFailed, "gone");
  if (!computer.open && computer.Time() < takenUntil_) throw RunError(RunError::kPortAlreadyOpen, "in use");
}

void Session::Babble(std::uint64_t noiseSeed, Nanoseconds howLong) {
  computer.noise = [this, random = std::mt19937_64(noiseSeed), last = computer.Time()]() mutable {
    const auto count = (computer.Time() - last) / 1ms;
    last += count * 1ms;
    Bytes bytes(static_cast<std::size_t>(count));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
  };
  computer.At(computer.Time() + howLong, [this] { computer.noise = nullptr; });
}

void Session::Deafen(Nanoseconds howLong) {
  computer.takesBytes = false;
  computer.At(computer.Time() + howLong, [this] { computer.takesBytes = true; });
}

std::string Session::RowText(int y) const {
  const bool marked = tool.info.Ver(y).FontBold() || tool.info.CkSum(y).FontBold();
  return tool.info.Ver(y).Text() + " " + tool.info.CkSum(y).Text() + (marked ? " bold" : "");
}

/// Whether a run-error box came since the run began.
bool Session::FailureShown() const {
  for (std::size_t i = run_.firstBox; i < computer.boxes.size(); ++i) {
    if (computer.boxes[i].text.starts_with("Error #")) return true;
  }
  return false;
}

void Session::LookAfterRun() {
  counts_ += {.runs = 1,
              .frames = computer.sent.size() - run_.firstFrame,
              .cancelled = run_.framesAtCancel != kNever,
              .failed = FailureShown()};
  const std::string name = (tool.*run_.button).Name();
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
  LookAtFrames();
  LookAtFramesAfterCancel();
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

void Session::LookAtRows() {
  for (int y = 0; y < kControllers; ++y) {
    if (RowText(y) == run_.rows[static_cast<std::size_t>(y)]) continue;
    const bool boldGone = RowText(y) + " bold" == run_.rows[static_cast<std::size_t>(y)];
    if (boldGone) continue;
    if (!run_.ticked.contains(y) && RowText(y) != " ") Complain("row: of one not ticked, " + RowText(y));
    LookAtRow(y);
  }
}

/// A row that this run filled, and that looks good, must tell what the controller holds.
void Session::LookAtRow(int y) {
  const std::string row = RowText(y);
  if (row.find('/') == std::string::npos) return;
  const auto setup = std::find_if(scenario_.controllers.begin(), scenario_.controllers.end(),
                                  [y](const bus::ControllerSetup& one) { return one.number == y; });
  if (setup == scenario_.controllers.end()) return Complain("row: of one that is not there, " + row);
  // Two echoes of $73 in one read have the length and the CRC of an answer: known, and left as it is.
  if (scenario_.line.echo && row.find(" 0173") != std::string::npos) return;
  ++counts_.goodRows;
  const bus::Controller& controller = bus.At(y);
  const bool boot = run_.button == &Quillon::ComBoot;
  const std::string own = boot ? RowOf(setup->bootVersion, setup->bootChecksum)
                               : RowOf(controller.Version(), controller.Checksum());
  if (!row.starts_with(own)) Complain("row: " + row + " of a controller with " + own);
  const bool download = run_.button == &Quillon::ComLoad || run_.button == &Quillon::ComLoad00;
  if (!download || row.ends_with("bold")) return;
  const bool held = std::any_of(run_.images.begin(), run_.images.end(), [&](const std::string& file) {
    return scenario_.images.at(file) == controller.Flash();
  });
  if (!held) Complain("row: good, but the flash does not hold the file's image, " + row);
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
  for (const auto& [number, flash] : flashAtStart_) {
    if (!everTicked_.contains(number) && bus.At(number).Flash() != flash)
      Complain("changed: controller " + std::to_string(number) + " was never ticked");
  }
  if (!tool.Check1.Ticked()) {
    if (ReadBack("Quillon.cfg") != scenario_.settings) Complain("settings: written all the same");
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
