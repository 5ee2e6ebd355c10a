#include "unattended/task.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "forms/quillon.h"

namespace quillon {
namespace {

constexpr int kLastController = kControllers - 1;

struct KnownStep {
  const char* name;
  Job job;
  const char* button;
};
constexpr KnownStep kKnownSteps[] = {
    {"parallel", Job::kParallel, "Download (Parallel)"},
    {"serial", Job::kSerial, "Download (Serial)"},
    {"flash-info", Job::kFlashInfo, "Flash Info"},
    {"boot-info", Job::kBootInfo, "Boot Info"},
    {"auto", Job::kAuto, "Auto"},
};

struct Range {
  const char* option;
  int low;
  int high;
};
constexpr Range kRanges[] = {
    {"port", 1, 99}, {"protocol", 0, 254}, {"timeout", 1, INT32_MAX}, {"delay", 0, INT16_MAX}};

QString Speeds() {
  QStringList speeds;
  for (const char* speed : kSpeeds) speeds.push_back(speed);
  return speeds.join(", ");
}

[[noreturn]] void Refuse(const QString& reason) { throw Failure(Trouble::kUsage, reason); }

/// Digits alone make a number here: no sign, no blanks, nothing left out.
std::optional<int> NumberWithin(const QString& word, int low, int high) {
  static const QRegularExpression digits("^[0-9]+\\z");
  bool fits = false;
  const int number = word.toInt(&fits);
  if (!fits || !digits.match(word).hasMatch() || number < low || number > high) return std::nullopt;
  return number;
}

/// The controllers of a list such as "1,2,5"; `where` is the part of the command line that holds it.
QList<int> Controllers(const QString& list, const QString& where) {
  QList<int> numbers;
  for (const QString& word : list.split(',')) {
    const std::optional<int> number = NumberWithin(word, 0, kLastController);
    if (!number) {
      Refuse(where + ": \"" + word +
             "\" is no controller. Give numbers from 0 to 31 with commas between, such as 1,2,5.");
    }
    numbers.push_back(*number);
  }
  return numbers;
}

Task::Step ReadStep(const QString& words) {
  const QString name = words.section(':', 0, 0);
  const auto* known = std::ranges::find_if(kKnownSteps, [&](const auto& step) { return name == step.name; });
  if (known == std::end(kKnownSteps)) {
    Refuse("There is no step \"" + name + "\". Give parallel, serial, flash-info, boot-info or auto.");
  }
  Task::Step step{words, known->job, known->button, std::nullopt};
  if (words.contains(':')) step.controllers = Controllers(words.section(':', 1), words);
  return step;
}

void CheckNumbers(const QCommandLineParser& parser) {
  for (const Range& range : kRanges) {
    const QString word = parser.value(range.option);
    if (!parser.isSet(range.option) || NumberWithin(word, range.low, range.high)) continue;
    Refuse(QString("--%1: \"%2\" does not fit. Give a whole number from %3 to %4.")
               .arg(range.option, word)
               .arg(range.low)
               .arg(range.high));
  }
  if (parser.isSet("speed") && !Speeds().split(", ").contains(parser.value("speed"))) {
    Refuse("--speed: \"" + parser.value("speed") + "\" is no speed. Give one of " + Speeds() + ".");
  }
}

/// Which of two values is meant can't be known.
void CheckTwice(const QCommandLineParser& parser) {
  const QStringList given = parser.optionNames();
  for (const QString& name : given) {
    if (parser.values(name).size() > 1) Refuse("--" + name + " is given twice. Give it once.");
  }
}

void CheckSteps(const Task& task) {
  if (task.steps.empty()) Refuse("There is no step, so nothing to do. Ask with --help.");
  for (const Task::Step& step : task.steps) {
    if (IsDownload(step.job) && task.hex.isEmpty()) Refuse(step.words + " needs a file. Give --hex FILE.");
    const bool known = !task.speed.isEmpty() && (task.controllers || step.controllers) &&
                       (step.job != Job::kParallel || !task.delay.isEmpty());
    if (task.forecastOnly && (!IsDownload(step.job) || !known)) {
      Refuse("--forecast: " + step.words +
             " can't be foretold. Give downloads, with --speed, --controllers and, for parallel, --delay.");
    }
  }
}

QString ReadHex(const QCommandLineParser& parser) {
  if (!parser.isSet("hex")) return "";
  const QString path = parser.value("hex");
  if (path.isEmpty()) Refuse("--hex: \"\" is no file. Give the path of a HEX file.");
  if (path.contains(QChar::ReplacementCharacter)) {
    throw Failure(Trouble::kFile, "--hex: the name \"" + path + "\" is no valid UTF-8. Rename the file.");
  }
  const QFileInfo file(path);
  if (!file.isFile()) {
    throw Failure(Trouble::kFile, "--hex: there is no file \"" + path + "\". Give the path of a HEX file.");
  }
  return QDir::toNativeSeparators(file.absoluteFilePath());  // as the window shows it
}

QString ReadPictures(const QCommandLineParser& parser) {
  const QString folder = parser.value("pictures");
  if (parser.isSet("pictures") && (folder.isEmpty() || !QDir().mkpath(folder))) {
    throw Failure(Trouble::kFile,
                  "--pictures: the folder \"" + folder + "\" can't be made. Give another one.");
  }
  return folder;
}

QString HelpText() {
  return QString(R"(Usage: quillon-unattended [OPTION]... STEP...
Works Quillon's windows with no operator: chooses the file, presses the buttons,
answers the boxes, and tells what an operator would have seen.

Steps, taken in their order:
  parallel          erases the ticked controllers and loads the file into all at
                    once, then reads each back
  serial            the same, one controller after the other
  flash-info        reads version and checksum of the firmware
  boot-info         reads version and checksum of the boot code
  auto              ticks the controllers that are on the line
A list after a step ticks its controllers for it and those after: serial:1,3

Options; what is not given stays as the settings have it:
  --hex FILE           firmware file to choose by "Browse ..."
  --port N             port, 1 to 99
  --speed BAUD         %1
  --protocol N         number for the field Protocol, 0 to 254
  --timeout MS         how long to wait for an answer
  --delay MS           pause after each batch of a parallel download
  --controllers LIST   controllers to tick, such as 1,2,5; all others are not
  --force              take a file that contradicts itself all the same
  --json               one JSON object a line, for programs
  --pictures DIR       keep pictures of the windows there
  --forecast           only tell how long the downloads would take
  --help, --version    this text, or which version this is

It ends with
  0   all is well
  1   a controller is not as wanted: its row is not good
  2   a word makes no sense, or a field is empty; no button was pressed for it
  3   the port: not there, in use, no right to it, or gone in mid-run
  4   a file: not there, not readable, contradicting itself, or the log or the
      output can't be written
  5   cancelled by Ctrl-C, or asked to end: the run stops at its next step
Of several the cause is told: 5 before 3, 3 before 4, 4 before 2, 2 before 1.
After 1 the next step is taken, after the others none.

On a terminal one line shows batches and controllers done, time passed and left.
With --json each line has "event" and "time" in seconds; "event" is
  step        "step", "batches", "controllers", "seconds" (the forecast)
  status      "text", "batchesDone", "controllersDone", "secondsLeft"
  box         "number" (0: none), "title", "text"
  controller  "number", "version", "checksum", "verdict", "advice"
  warning, failure   "text"
  end         "code"
"verdict" is good, found (by auto), no-answer, damaged-answers, refused,
erase-refused, not-programmed, other-image, marked or not-read.

The settings on the disk stay as they are. One copy at a time works from one
folder: a second one can't write its log, and ends with 4.

Examples:
  quillon-unattended --hex new.hex --port 33 --speed 9600 --protocol 63 \
      --timeout 3000 --delay 170 --controllers 1,2,3,4 parallel
  quillon-unattended --port 33 --json flash-info:1,2 |
      jq -r 'select(.event == "controller") | .checksum'
  quillon-unattended --port 33 auto flash-info
)")
      .arg("one of " + Speeds());
}

}  // namespace

Task ReadCommandLine(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.addOptions({{{"h", "help"}, ""}, {"force", ""}, {"json", ""}, {"forecast", ""}, {"version", ""}});
  for (const char* name : {"hex", "port", "speed", "protocol", "timeout", "delay", "controllers", "pictures"})
    parser.addOption({name, "", "VALUE"});
  if (!parser.parse(arguments)) Refuse(parser.errorText() + " Ask with --help.");
  Task task;
  if (parser.isSet("help")) task.answer = HelpText();
  if (parser.isSet("version")) task.answer = "quillon-unattended " QUILLON_VERSION "\n";
  if (!task.answer.isEmpty()) return task;
  CheckTwice(parser);
  CheckNumbers(parser);
  task.force = parser.isSet("force");
  task.json = parser.isSet("json");
  task.forecastOnly = parser.isSet("forecast");
  task.port = parser.value("port");
  task.speed = parser.value("speed");
  task.protocol = parser.value("protocol");
  task.timeout = parser.value("timeout");
  task.delay = parser.value("delay");
  if (parser.isSet("controllers"))
    task.controllers = Controllers(parser.value("controllers"), "--controllers");
  for (const QString& step : parser.positionalArguments()) task.steps.push_back(ReadStep(step));
  task.hex = ReadHex(parser);
  CheckSteps(task);
  task.pictures = ReadPictures(parser);
  return task;
}

}  // namespace quillon
