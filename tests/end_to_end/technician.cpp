#include "end_to_end/technician.h"

#include <QApplication>
#include <QMessageBox>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quillon::test {
namespace {

std::vector<std::string> BusWords(const std::string& folder, const std::vector<std::string>& options) {
  std::vector<std::string> words{QUILLON_BUS, "--link", folder + "COM7", "--log", folder + "bus.log"};
  words.insert(words.end(), options.begin(), options.end());
  return words;
}

}  // namespace

Technician::Technician(std::chrono::seconds bound, const std::vector<std::string>& busOptions,
                       const Settings& settings)
    : watchdog_(
          bound, [this] { TellWindows(); }, [this] { TellFiles(); }) {
  PlugTheLineIn(busOptions);
  WriteSettings(settings);
  program_.emplace(Path(""));
  program_->Start();
}

Technician::~Technician() {
  // A program that ended has told the application to quit; the next test's dialogs need it to run again.
  QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(); });
  QCoreApplication::exec();
  bus_->End(SIGTERM);
}

void Technician::PlugTheLineIn(const std::vector<std::string>& busOptions) {
  bus_.emplace(BusWords(Path(""), busOptions));
  const std::string word = bus_->ReadLine();
  if (!word.starts_with("bus: ")) throw std::runtime_error("the virtual bus does not start: " + word);
}

void Technician::SelectDevice(const std::string& device) {
  std::filesystem::create_symlink(device, Path("COM8"));
  Select("Com Port", "COM 8");
}

void Technician::WriteSettings(const Settings& settings) const {
  std::ofstream file(Path("Quillon.cfg"), std::ios::binary);
  const auto write = [&file](const std::string& line) { file << line << "\r\n"; };
  write(settings.timeout);
  write("COM 7");
  write(settings.speed);
  for (int i = 0; i < 32; ++i) {
    const bool ticked =
        std::find(settings.controllers.begin(), settings.controllers.end(), i) != settings.controllers.end();
    write(ticked ? " 1 " : " 0 ");
  }
  write(settings.delay);
  write(settings.protocol);
  write(" 0 ");
  write(" 0 ");
  if (!settings.bootSpeed.empty()) std::ofstream(Path("boot.ini")) << settings.bootSpeed << "\r\n";
}

void Technician::ChooseHex(const std::vector<std::string>& lines) {
  std::ofstream file(Path("image.hex"), std::ios::binary);
  for (const std::string& line : lines) file << line << "\n";
  file.close();
  ChooseFile(folder_.filePath("image.hex"));
}

void Technician::When(std::function<bool()> condition, std::function<void()> action) {
  plans_.emplace_back(std::move(condition), std::move(action));
}

void Technician::OnBox(QMessageBox& box) { boxes.push_back(box.text()); }

void Technician::OnLook() {
  const auto ready =
      std::find_if(plans_.begin(), plans_.end(), [](const auto& plan) { return plan.first(); });
  if (ready == plans_.end()) return;
  const auto action = std::move(ready->second);
  plans_.erase(ready);
  action();
}

std::vector<std::string> Technician::Frames() const {
  std::istringstream log(Read("bus.log"));
  std::vector<std::string> frames;
  for (std::string line; std::getline(log, line);) {
    std::istringstream fields(line);
    std::string time, baud, format, who, byte, frame;
    fields >> time >> baud >> format >> who;
    if (who != "tool") continue;
    while (fields >> byte) frame += byte;
    frames.push_back(baud + " " + format + " " + frame);
  }
  return frames;
}

std::string Technician::Read(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> Technician::EndAndReadLog() {
  Press("Quillon", "Exit");
  std::istringstream text(Read("Log.txt"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line.substr(0, line.size() - 1));
  return lines;
}

void Technician::TellWindows() {
  std::fprintf(stderr, "status line: \"%s\"\n", qUtf8Printable(Status()));
  for (const QString& text : boxes) std::fprintf(stderr, "answered box: \"%s\"\n", qUtf8Printable(text));
  int pictures = 0;
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (!top->isVisible()) continue;
    const QString picture = folder_.filePath(QString("stood%1.png").arg(++pictures));
    top->grab().save(picture);
    std::fprintf(stderr, "window %s \"%s\"%s: %s\n", top->metaObject()->className(),
                 qUtf8Printable(top->windowTitle()), top->isModal() ? ", modal" : "",
                 qUtf8Printable(picture));
  }
}

void Technician::TellFiles() {
  constexpr std::size_t kShown = 600;  // bytes
  for (const char* name : {"Log.txt", "bus.log"}) {
    const std::string text = Read(name);
    const std::string end = text.substr(text.size() - std::min(text.size(), kShown));
    std::fprintf(stderr, "%s ends with:\n%s\n", Path(name).c_str(), end.c_str());
  }
}

}  // namespace quillon::test
