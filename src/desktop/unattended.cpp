// Runs the real windows over a real serial line with nobody there: presses the buttons, fills the dialogs and
// answers the boxes as an operator would, and tells on standard output what such an operator saw.
#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>
#include <cstdio>
#include <map>
#include <optional>

#include "desktop/house_look.h"
#include "desktop/program.h"
#include "platform/system_files.h"

namespace {

constexpr int kLookEvery = 20;  // milliseconds
constexpr int kControllerCount = 32;

const std::map<QString, QString> kButtons = {
    {"parallel", "Download (Parallel)"},
    {"serial", "Download (Serial)"},
    {"flash-info", "Flash Info"},
    {"boot-info", "Boot Info"},
    {"auto", "Auto"},
};

struct Task {
  QString hex;
  QString port;
  QString speed;
  QString protocol;
  QString timeout;
  QString delay;
  std::optional<QList<int>> controllers;
  QString pictures;
  QStringList steps;
};

QWidget* Window(const QString& name) {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top->objectName() == name) return top;
  }
  return nullptr;
}

/// The widget of the named window that screen readers know as `name`; nullptr when there is none.
template <class Widget>
Widget* Find(const QString& window, const QString& name) {
  const QWidget* top = Window(window);
  if (top == nullptr) return nullptr;
  for (Widget* child : top->findChildren<Widget*>()) {
    if (child->accessibleName() == name) return child;
  }
  return nullptr;
}

QList<int> Numbers(const QString& list) {
  QList<int> numbers;
  for (const QString& part : list.split(',', Qt::SkipEmptyParts)) numbers.push_back(part.toInt());
  return numbers;
}

class Operator final : public QObject {
 public:
  explicit Operator(Task task) : task_(std::move(task)) {
    clock_.start();
    QObject::connect(&watch_, &QTimer::timeout, [this] { Look(); });
    watch_.start(kLookEvery);
    QApplication::instance()->installEventFilter(this);
  }

  /// Does the whole task and leaves the program by its Exit button.
  void Work() {
    Settle();
    SetUp();
    for (const QString& step : task_.steps) Run(step);
    Say(failed_ ? "it did not go well" : "all went well");
    watch_.stop();
    Press("Exit");
  }

  bool WentWell() const { return !failed_; }

  /// Reads the status line whenever it is painted, so that none is missed.
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Paint && watched->objectName() == "Label1") ReadMessage();
    return false;
  }

 private:
  void SetUp() {
    Tick("Save configuration on exit", false);  // a trial leaves the settings as they are
    Type("Time Out", task_.timeout);
    Type("Parallel Waiting Delay", task_.delay);
    Type("Protocol", task_.protocol);
    Select("Com Port", task_.port.isEmpty() ? "" : "COM " + task_.port);
    Select("Speed", task_.speed);
    if (task_.controllers) TickOnly(*task_.controllers);
    if (!task_.hex.isEmpty()) Press("Browse ...");
  }

  void Run(const QString& step) {
    Say("step " + step);
    if (step.contains(':')) TickOnly(Numbers(step.section(':', 1)));
    Press(kButtons.at(step.section(':', 0, 0)));
    Settle();
    Say("step " + step + " is over");
    KeepPicture("Quillon");
    KeepPicture("Info");
    Report();
  }

  // What the operator's hand does.

  void Press(const QString& name) {
    auto* button = Find<QAbstractButton>("Quillon", name);
    if (button == nullptr || !button->isEnabled()) {
      Fail("button \"" + name + "\" can't be pressed");
    } else {
      button->click();  // a run is over when this returns
    }
  }

  void Tick(const QString& name, bool ticked) {
    auto* box = Find<QCheckBox>("Quillon", name);
    if (box != nullptr && box->isChecked() != ticked) box->click();
  }

  void TickOnly(const QList<int>& controllers) {
    for (int i = 0; i < kControllerCount; ++i) Tick(ControllerName(i), controllers.contains(i));
  }

  void Type(const QString& name, const QString& text) {
    auto* box = Find<QLineEdit>("Quillon", name);
    if (box != nullptr && !text.isEmpty()) box->setText(text);
  }

  void Select(const QString& name, const QString& item) {
    auto* list = Find<QComboBox>("Quillon", name);
    if (list == nullptr || item.isEmpty()) return;
    const int index = list->findText(item);
    if (index < 0) {
      Fail(name + " has no item \"" + item + "\"");
    } else {
      list->setCurrentIndex(index);
    }
  }

  static QString ControllerName(int number) { return "Controller " + QString::number(number); }

  void Settle() { QApplication::processEvents(); }

  // What the operator's eye sees, at every look.

  void Look() {
    if (std::exchange(newLine_, false)) KeepPicture("Message");
    for (QWidget* top : QApplication::topLevelWidgets()) {
      if (!top->isVisible()) continue;
      if (auto* dialog = qobject_cast<QFileDialog*>(top)) FillFileDialog(*dialog);
      if (auto* box = qobject_cast<QMessageBox*>(top)) AnswerBox(*box);
    }
  }

  void ReadMessage() {
    const QWidget* message = Window("Message");
    if (message == nullptr || !message->isVisible()) return;
    const QString line = message->findChild<QLabel*>("Label1")->text();
    if (line == status_) return;
    status_ = line;
    newLine_ = true;
    Say(line);
  }

  void FillFileDialog(QFileDialog& dialog) {
    if (task_.hex.isEmpty()) {
      dialog.reject();
      return;
    }
    dialog.selectFile(std::exchange(task_.hex, ""));
    static_cast<QDialog&>(dialog).accept();
  }

  void AnswerBox(QMessageBox& box) {
    Say("box \"" + box.windowTitle() + "\": " + box.text().replace('\n', " / "));
    KeepPicture(box, "box");
    if (box.windowTitle().endsWith("Error")) failed_ = true;
    box.button(QMessageBox::Ok)->click();
  }

  // What the operator writes down.

  void Say(const QString& line) {
    std::printf("%8.3f  %s\n", static_cast<double>(clock_.elapsed()) / 1000.0, qUtf8Printable(line));
    std::fflush(stdout);
  }

  void Fail(const QString& reason) {
    Say("FAILED: " + reason);
    failed_ = true;
  }

  void KeepPicture(const QString& window) {
    QWidget* widget = Window(window);
    if (widget != nullptr && widget->isVisible()) KeepPicture(*widget, window.toLower());
  }

  void KeepPicture(QWidget& window, const QString& name) {
    if (task_.pictures.isEmpty()) return;
    const QString path = task_.pictures + "/" + name + ".png";
    if (!window.grab().save(path)) Fail("can't write " + path);
  }

  /// Tells the rows of the ticked controllers, and holds them against the checksum that Info shows.
  void Report() {
    if (Window("Info") == nullptr) return;
    const auto* wanted = Find<QLineEdit>("Info", "File Cheksum");
    const QString checksum = wanted->isVisible() ? wanted->text() : "";
    for (int i = 0; i < kControllerCount; ++i) {
      if (Find<QCheckBox>("Quillon", ControllerName(i))->isChecked()) ReportRow(i, checksum);
    }
  }

  void ReportRow(int number, const QString& checksum) {
    const auto* version = Find<QLineEdit>("Info", "Version " + QString::number(number));
    const auto* sum = Find<QLineEdit>("Info", "Cheksum " + QString::number(number));
    const bool black = IsBlack(*version) && IsBlack(*sum);
    const bool filled = !version->text().isEmpty() && !sum->text().isEmpty();
    const bool good = black && filled && (checksum.isEmpty() || sum->text() == checksum);
    Say(QString("%1  %2 | %3 | %4")
            .arg(ControllerName(number), version->text(), sum->text(), good ? "good" : "BAD"));
    if (!good) failed_ = true;
  }

  static bool IsBlack(const QLineEdit& box) {
    return box.palette().color(QPalette::Text) == QColor(Qt::black);
  }

  Task task_;
  QElapsedTimer clock_;
  QTimer watch_;
  QString status_;
  bool newLine_ = false;
  bool failed_ = false;
};

/// Reads the command line; ends the program with a word about what it can't understand.
Task ReadCommandLine(const QCoreApplication& application) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Runs Quillon's windows with no operator.\nSteps, in order: parallel, serial, flash-info, boot-info, "
      "auto;\neach with controllers of its own where they follow it: serial:1,3.\n"
      "Ends with 0 when every ticked controller holds version and checksum, equal to the file's.");
  parser.addHelpOption();
  parser.addOptions({{"hex", "HEX file to choose by Browse.", "FILE"},
                     {"port", "Port, 1 to 99.", "N"},
                     {"speed", "Speed in bits per second.", "BAUD"},
                     {"protocol", "Text for the box Protocol.", "N"},
                     {"timeout", "Time out in milliseconds.", "MS"},
                     {"delay", "Parallel waiting delay in milliseconds.", "MS"},
                     {"controllers", "Controllers to tick, such as 1,2,5; the others are unticked.", "LIST"},
                     {"pictures", "Folder for pictures of the windows.", "DIR"}});
  parser.addPositionalArgument("STEP", "What to do.", "STEP...");
  parser.process(application);
  Task task{
      parser.value("hex"),         parser.value("port"),  parser.value("speed"), parser.value("protocol"),
      parser.value("timeout"),     parser.value("delay"), std::nullopt,          parser.value("pictures"),
      parser.positionalArguments()};
  if (parser.isSet("controllers")) task.controllers = Numbers(parser.value("controllers"));
  if (!task.hex.isEmpty()) task.hex = QFileInfo(task.hex).absoluteFilePath();
  for (const QString& step : task.steps) {
    if (kButtons.contains(step.section(':', 0, 0))) continue;
    std::fprintf(stderr, "There is no step \"%s\". Ask with --help.\n", qUtf8Printable(step));
    std::exit(2);
  }
  if (!task.hex.isEmpty() && !QFileInfo::exists(task.hex)) {
    std::fprintf(stderr, "There is no file \"%s\".\n", qUtf8Printable(task.hex));
    std::exit(2);
  }
  if (!task.pictures.isEmpty()) QDir().mkpath(task.pictures);
  return task;
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
      qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::GiveHouseLook(application);
  Operator operatorAtWork(ReadCommandLine(application));
  quillon::Program program(quillon::system_files::ProgramFolder());
  program.Start();
  QTimer::singleShot(0, &application, [&] { operatorAtWork.Work(); });
  program.ServeUntilEnd();
  return operatorAtWork.WentWell() ? 0 : 1;
}
