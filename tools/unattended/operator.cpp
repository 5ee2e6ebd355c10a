#include "unattended/operator.h"

#include <QApplication>
#include <QMessageBox>
#include <cstdio>
#include <utility>

namespace quillon {
namespace {

constexpr int kControllers = 32;
const QString kGoodNews = "send p4 OK!!!";  // the one box that tells no trouble
const QColor kBlack(Qt::black);

}  // namespace

Operator::Operator(Task task) : task_(std::move(task)) { clock_.start(); }

void Operator::Work() {
  try {
    QApplication::processEvents();
    SetUp();
    if (failed_) throw std::runtime_error("trouble before the first step, so none was taken");
    for (const Task::Step& step : task_.steps) Run(step);
  } catch (const std::runtime_error& error) {
    Fail(QString::fromStdString(error.what()));
  }
  Press("Quillon", "Exit");
  Say(failed_ ? "it did not go well" : "all went well");
}

void Operator::SetUp() {
  Tick("Save configuration on exit", false);  // a trial leaves the settings as they are
  const auto type = [this](const QString& name, const QString& text) {
    if (!text.isEmpty()) Type(name, text);
  };
  type("Time Out", task_.timeout);
  type("Parallel Waiting Delay", task_.delay);
  type("Protocol", task_.protocol);
  if (!task_.port.isEmpty()) Select("Com Port", "COM " + QString::number(task_.port.toInt()));
  if (!task_.speed.isEmpty()) Select("Speed", task_.speed);
  if (task_.controllers) TickOnly(*task_.controllers);
  if (!task_.hex.isEmpty()) ChooseFile(task_.hex);
}

void Operator::Run(const Task::Step& step) {
  Say("step " + step.words);
  if (step.controllers) TickOnly(*step.controllers);
  Press("Quillon", step.button);
  QApplication::processEvents();
  Say("step " + step.words + " is over");
  KeepPicture("Quillon");
  KeepPicture("Info");
  Report();
}

void Operator::TickOnly(const QList<int>& controllers) {
  for (int i = 0; i < kControllers; ++i) Tick(ControllerName(i), controllers.contains(i));
}

void Operator::OnBox(QMessageBox& box) {
  Say("box \"" + box.windowTitle() + "\": " + box.text().replace('\n', " / "));
  KeepPicture(box, "box");
  if (box.text() != kGoodNews) failed_ = true;
}

void Operator::OnStatus(const QString& line) {
  newLine_ = true;
  Say(line);
}

void Operator::OnLook() {
  if (std::exchange(newLine_, false)) KeepPicture("Message");
}

void Operator::Report() {
  if (Window("Info") == nullptr) return;
  const QString checksum = Text("Info", "File Cheksum");
  for (int i = 0; i < kControllers; ++i) {
    if (Ticked(ControllerName(i))) ReportRow(i, checksum);
  }
}

void Operator::ReportRow(int number, const QString& checksum) {
  const Row row = RowOf(number);
  const bool black = row.versionText == kBlack && row.checksumText == kBlack;
  const bool filled = !row.version.isEmpty() && !row.checksum.isEmpty();
  const bool good = black && filled && (checksum.isEmpty() || row.checksum == checksum);
  Say(QString("%1  %2 | %3 | %4")
          .arg(ControllerName(number), row.version, row.checksum, good ? "good" : "BAD"));
  if (!good) failed_ = true;
}

void Operator::Say(const QString& line) {
  std::printf("%8.3f  %s\n", static_cast<double>(clock_.elapsed()) / 1000.0, qUtf8Printable(line));
  std::fflush(stdout);
}

void Operator::Fail(const QString& reason) {
  Say("FAILED: " + reason);
  failed_ = true;
}

void Operator::KeepPicture(const QString& window) {
  QWidget* widget = Window(window);
  if (widget != nullptr && widget->isVisible()) KeepPicture(*widget, window.toLower());
}

void Operator::KeepPicture(QWidget& window, const QString& name) {
  if (task_.pictures.isEmpty()) return;
  const QString path = task_.pictures + "/" + name + ".png";
  if (!window.grab().save(path)) Fail("can't write " + path);
}

}  // namespace quillon
