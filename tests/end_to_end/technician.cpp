#include "end_to_end/technician.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <fstream>
#include <sstream>

namespace quillon::test {
namespace {

constexpr int kLookEvery = 25;      // milliseconds
constexpr int kBusStarts = 10'000;  // milliseconds at most
constexpr int kBusEnds = 5'000;

QWidget* WindowNamed(const QString& name) {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top->objectName() == name) return top;
  }
  return nullptr;
}

template <class Widget>
Widget* VisibleDialog() {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* dialog = qobject_cast<Widget*>(top);
    if (dialog && dialog->isVisible()) return dialog;
  }
  return nullptr;
}

}  // namespace

Technician::Technician(const QStringList& busOptions, const Settings& settings) {
  StartBus(busOptions);
  WriteSettings(settings);
  QObject::connect(&watch_, &QTimer::timeout, [this] { Look(); });
  watch_.start(kLookEvery);
  program_.emplace(Path(""));
  program_->Start();
}

Technician::~Technician() {
  // A program that ended has told the application to quit; the next test's dialogs need it to run again.
  QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(); });
  QCoreApplication::exec();
  bus_.terminate();
  bus_.waitForFinished(kBusEnds);
}

void Technician::StartBus(const QStringList& options) {
  bus_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  bus_.start(QUILLON_BUS,
             QStringList{"--link", folder_.filePath("COM7"), "--log", folder_.filePath("bus.log")} + options);
  if (!bus_.waitForReadyRead(kBusStarts)) throw std::runtime_error("the virtual bus does not start");
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
  fileToChoose_ = folder_.filePath("image.hex");
  Press("Quillon", "Browse ...");
}

void Technician::Press(const QString& window, const QString& name) {
  auto* button = Find<QAbstractButton>(window, name);
  if (!button->isEnabled()) throw std::logic_error(name.toStdString() + " is disabled");
  button->click();
}

void Technician::When(std::function<bool()> condition, std::function<void()> action) {
  plans_.emplace_back(std::move(condition), std::move(action));
}

void Technician::Look() {
  if (auto* box = VisibleDialog<QMessageBox>()) {
    boxes.push_back(box->text());
    box->button(QMessageBox::Ok)->click();
  }
  if (auto* dialog = VisibleDialog<QFileDialog>()) OpenFile(*dialog);
  for (std::size_t i = 0; i < plans_.size(); ++i) {
    if (!plans_[i].first()) continue;
    const auto action = std::move(plans_[i].second);
    plans_.erase(plans_.begin() + static_cast<std::ptrdiff_t>(i--));
    action();
  }
}

void Technician::OpenFile(QFileDialog& dialog) {
  if (fileToChoose_.isEmpty()) return;
  dialog.findChild<QLineEdit*>("fileNameEdit")->setText(std::exchange(fileToChoose_, ""));
  auto* open = dialog.findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Open);
  // Not from within this look: while its nested event loop ran, there would be no look at what it opens.
  QMetaObject::invokeMethod(open, "click", Qt::QueuedConnection);
}

QString Technician::Text(const QString& window, const QString& name) const {
  const auto* widget = Find<QWidget>(window, name);
  return widget->property(qobject_cast<const QLineEdit*>(widget) ? "text" : "currentText").toString();
}

bool Technician::Ticked(int controller) const {
  return Find<QCheckBox>("Quillon", "Controller " + QString::number(controller))->isChecked();
}

void Technician::Tick(const QString& name) { Find<QCheckBox>("Quillon", name)->click(); }

QString Technician::Status() const {
  const QWidget* window = WindowNamed("Message");
  return window && window->isVisible() ? window->findChild<QLabel*>("Label1")->text() : QString();
}

Technician::Row Technician::RowOf(int controller) const {
  const QString number = QString::number(controller);
  const auto* version = Find<QLineEdit>("Info", "Version " + number);
  const auto* checksum = Find<QLineEdit>("Info", "Cheksum " + number);
  return {version->text(), checksum->text(), version->palette().color(QPalette::Text),
          checksum->palette().color(QPalette::Text), checksum->palette().color(QPalette::Base)};
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

}  // namespace quillon::test
