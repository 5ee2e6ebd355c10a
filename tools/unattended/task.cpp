#include "unattended/task.h"

#include <CLI/CLI.hpp>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>

#include "command_line/manual_formatter.h"
#include "forms/quillon.h"

namespace quillon {
namespace {

constexpr int kLastController = kControllers - 1;

struct KnownStep {
  const char* name;
  RunKind kind;
  const char* button;
};
constexpr KnownStep kKnownSteps[] = {
    {"parallel", RunKind::kParallel, "Download (Parallel)"},
    {"serial", RunKind::kSerial, "Download (Serial)"},
    {"flash-info", RunKind::kFlashInfo, "Flash Info"},
    {"boot-info", RunKind::kBootInfo, "Boot Info"},
    {"auto", RunKind::kAuto, "Auto"},
};

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-unattended [OPTION]... STEP...

DESCRIPTION
  Runs the windows of Quillon without an operator: chooses the file, presses the
  buttons, answers the boxes, and reports what an operator would see. It needs
  no display.

  The steps run in the order given:

    parallel     erases the ticked controllers, loads the file into all of them
                 at once, then reads each back
    serial       the same, one controller after the other
    flash-info   reads version and checksum of the firmware
    boot-info    reads version and checksum of the boot code
    auto         ticks the controllers that are on the line

  A list after a step ticks its controllers for this step and those after it:
  serial:1,3 or flash-info:0-3,7. The list "failed" is the controllers whose last
  verdict in this invocation is not good: parallel serial:failed. The step is
  skipped when there is none.

  On a terminal one line shows the batches and controllers done, the time passed
  and the time left. After each step one row reports each ticked controller:

      12.529  Controller 1  12/05/31 | 6E8C | good

  With --json each line of the output is an object with "event" and "time" in
  seconds:

    step        "step", "batches", "controllers", "seconds" (the estimate)
    status      "text", "batchesDone", "controllersDone", "secondsLeft"
    box         "number" (0: none), "title", "text"
    skipped     "step", "text"
    controller  "number", "version", "checksum", "verdict", "evidence", "reason",
                "advice"
    warning, failure   "text"
    end         "code" (the exit status)

  The verdict considers all that the run learned, not only the row. "verdict" and
  "evidence" are:

    good        proven: every batch acknowledged by this controller, full
                checksum confirmed, read back equal to the file
                confirmed: full checksum confirmed, read back equal (parallel)
                read-back: read back equal; this step loaded nothing
    read        read, and there was no file to compare it with
    found       answered to auto
    contradictory   refused the full checksum, although it reads back equal; or
                an answer came from another controller; or two answers differ
    unconfirmed     loaded and reads back equal, but neither confirmed nor
                refused the full checksum

  and the failures no-answer, damaged-answers, refused, erase-refused,
  not-programmed, other-image and not-read. A survey never improves the verdict of
  a download in the same invocation; only another download does.

  --resume finishes a download that was cut: it reads file, settings and
  controllers from the job record, refuses a file that has changed, surveys the
  controllers, and loads those that do not hold the file, that refused it, or that
  were erased and did not confirm it.

  The settings on the disk are not changed. Only one copy at a time can run in
  one folder: a second one cannot write its log and exits with status 4.

  A reader of the output that stalls does not delay a run. At the end the program
  waits up to five seconds for it; lines that are then lost lead to status 4.
)";

constexpr char kFooter[] = R"(EXIT STATUS
  0   success
  1   a controller is not in the expected state: its last verdict is none of good,
      read and found
  2   a word is not valid, or a field is empty; no button was pressed for it
  3   the port is missing, in use, not permitted, or was removed during a run
  4   a file is missing, not readable or contradicts itself, or the log or the
      output cannot be written
  5   cancelled by Ctrl-C or a request to end; the run stops at its next step

  Of several the cause counts: 5 before 3, 3 before 4, 4 before 2, 2 before 1.
  After 1 the next step runs, after the others none.

EXAMPLES
  quillon-unattended --hex new.hex --port 33 --speed 9600 --protocol 63 \
      --timeout 3000 --delay 170 --controllers 1-4 parallel
  quillon-unattended --port 33 --json flash-info:1,2 |
      jq -r 'select(.event == "controller") | .checksum'
  quillon-unattended --port 33 auto flash-info
  quillon-unattended --hex new.hex --port 33 --controllers 1-4 \
      parallel serial:failed
  quillon-unattended --resume Jobs/20261124T101112Z-parallel.jsonl
)";

[[noreturn]] void Refuse(const QString& reason) { throw Failure(ErrorCategory::kUsage, reason); }

/// A number is digits only: no sign, no blanks, not empty.
std::optional<int> NumberWithin(const QString& word, int low, int high) {
  static const QRegularExpression digits("^[0-9]+\\z");
  bool fits = false;
  const int number = word.toInt(&fits);
  if (!fits || !digits.match(word).hasMatch() || number < low || number > high) return std::nullopt;
  return number;
}

/// The controllers of a list such as "1,2,5" or "0-3,7". Raises std::invalid_argument with the reason.
QList<int> ParseControllers(const QString& list) {
  QList<int> numbers;
  for (const QString& word : list.split(',')) {
    const auto first = NumberWithin(word.section('-', 0, 0), 0, kLastController);
    const auto last = word.contains('-') ? NumberWithin(word.section('-', 1), 0, kLastController) : first;
    if (!first || !last || *last < *first) {
      throw std::invalid_argument(
          ("\"" + word + "\" is not a controller. Give numbers from 0 to 31, such as 1,2,5 or 0-3,7.")
              .toStdString());
    }
    for (int number = *first; number <= *last; ++number) numbers.push_back(number);
  }
  return numbers;
}

Task::Step ParseStep(const QString& words) {
  const QString name = words.section(':', 0, 0);
  const auto* known = std::ranges::find_if(kKnownSteps, [&](const auto& step) { return name == step.name; });
  if (known == std::end(kKnownSteps)) {
    Refuse("There is no step \"" + name + "\". Give parallel, serial, flash-info, boot-info or auto.");
  }
  Task::Step step{words, known->kind, known->button, std::nullopt};
  if (!words.contains(':')) return step;
  if (words.section(':', 1) == "failed") {
    step.failedOnly = true;
    return step;
  }
  try {
    step.controllers = ParseControllers(words.section(':', 1));
  } catch (const std::invalid_argument& error) {
    Refuse(words + ": " + error.what());
  }
  return step;
}

/// How the value of an option is checked: returns what is wrong with it, or nothing.
using Check = std::function<QString(const QString& value)>;

Check Number(int low, int high) {
  return [=](const QString& value) {
    if (NumberWithin(value, low, high)) return QString();
    return QString("\"%1\" does not fit. Give a whole number from %2 to %3.").arg(value).arg(low).arg(high);
  };
}

QStringList Speeds() {
  QStringList speeds;
  for (const char* speed : kSpeeds) speeds.push_back(speed);
  return speeds;
}

QString CheckSpeed(const QString& value) {
  if (Speeds().contains(value)) return "";
  return "\"" + value + "\" is no speed. Give one of " + Speeds().join(", ") + ".";
}

QString CheckControllers(const QString& value) {
  try {
    ParseControllers(value);
    return "";
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
}

QString CheckFileName(const QString& value) {
  return value.isEmpty() ? "\"\" is no file. Give the path of a file." : "";
}

QString CheckFolderName(const QString& value) {
  return value.isEmpty() ? "\"\" is no folder. Give the path of a folder." : "";
}

/// The options that have a value: parser, checks and help are made from this table.
struct ValueOption {
  const char* name;
  const char* value;
  std::string help;
  Check check;
};
ValueOption NumberOption(const char* name, const char* value, const std::string& help, int low, int high) {
  return {name, value, help + ", " + std::to_string(low) + " to " + std::to_string(high), Number(low, high)};
}
const ValueOption kHex{"--hex", "FILE", "firmware file to choose by \"Browse ...\"", CheckFileName};
const ValueOption kPort = NumberOption("--port", "N", "port", 1, 99);
const ValueOption kSpeed{"--speed", "BAUD", "one of " + Speeds().join(", ").toStdString(), CheckSpeed};
const ValueOption kProtocol = NumberOption("--protocol", "N", "number for the field Protocol", 0, 254);
const ValueOption kTimeout = NumberOption("--timeout", "MS", "how long to wait for an answer", 1, INT32_MAX);
const ValueOption kDelay = NumberOption("--delay", "MS", "pause after each parallel batch", 0, INT16_MAX);
const ValueOption kControllerList{"--controllers", "LIST",
                                  "tick these, such as 1,2,5 or 0-3,7, and no others", CheckControllers};
const ValueOption kRecord{"--record", "DIR", "write a job record of each step's run there", CheckFolderName};
const ValueOption kBy{"--by", "NAME", "the name of the operator, for the job records",
                      [](const QString&) { return QString(); }};
const ValueOption kResume{"--resume", "RECORD", "finish the download that this job record describes",
                          CheckFileName};
const ValueOption kPictures{"--pictures", "DIR", "save pictures of the windows there", CheckFolderName};

/// Adds an option whose value goes to `target`.
void Add(CLI::App& app, const ValueOption& option, QString& target) {
  const auto check = [&option](const std::string& value) {
    return option.check(QString::fromStdString(value)).toStdString();
  };
  app.add_option_function<std::string>(
         option.name, [&target](const std::string& value) { target = QString::fromStdString(value); },
         option.help)
      ->type_name(option.value)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
      ->check(CLI::Validator(check, ""));
}

/// Which of two values is meant is unknown.
void RefuseTwice(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const bool repeatable = option->get_positional() || option->get_type_size() == 0;
    if (!repeatable && option->count() > 1)
      Refuse(QString::fromStdString(option->get_name()) + " is given twice. Give it once.");
  }
}

void CheckSteps(const Task& task) {
  if (!task.by.isEmpty() && task.record.isEmpty()) Refuse("--by needs job records. Give --record DIR.");
  if (!task.resumeFrom.isEmpty()) {
    if (task.steps.empty() && task.hex.isEmpty() && !task.controllers && !task.forecastOnly) return;
    Refuse("--resume takes file, controllers and steps from the record. Leave them out.");
  }
  if (task.steps.empty()) Refuse("There is no step, so nothing to do. Ask with --help.");
  for (const Task::Step& step : task.steps) {
    if (IsDownload(step.kind) && task.hex.isEmpty()) Refuse(step.words + " needs a file. Give --hex FILE.");
    const bool known = !step.failedOnly && !task.speed.isEmpty() && (task.controllers || step.controllers) &&
                       (step.kind != RunKind::kParallel || !task.delay.isEmpty());
    if (task.forecastOnly && (!IsDownload(step.kind) || !known)) {
      Refuse("--forecast: " + step.words +
             " can't be estimated. Give downloads, with --speed, --controllers and, for parallel, --delay.");
    }
  }
}

/// Parses the words. Returns false when the answer in `task` is to be printed instead of any work.
bool Parse(CLI::App& app, std::vector<std::string> words, Task& task) {
  try {
    app.parse(std::move(words));
    return true;
  } catch (const CLI::CallForHelp&) {
    task.answer = QString::fromStdString(app.help());
  } catch (const CLI::CallForVersion&) {
    task.answer = "quillon-unattended " QUILLON_VERSION "\n";
  } catch (const CLI::ValidationError& error) {
    Refuse(error.what());
  } catch (const CLI::ParseError& error) {
    Refuse(QString(error.what()) + ". Ask with --help.");
  }
  return false;
}

void PrepareResume(Task& task) {
  try {
    task.resume.emplace(ReadRecord(task.resumeFrom));
  } catch (const std::exception& error) {
    throw Failure(ErrorCategory::kFile, "--resume: \"" + task.resumeFrom + "\": " + error.what() + ".");
  }
  const JobRecord& record = task.resume->Record();
  const QJsonObject settings = record.job["settings"].toObject();
  task.hex = record.File()["path"].toString();
  const auto fill = [](QString& field, const QString& value) {
    if (field.isEmpty()) field = value;
  };
  fill(task.port, record.job["port"].toString().section(' ', 1));
  fill(task.speed, settings["speed"].toString());
  fill(task.protocol, settings["protocol"].toString());
  fill(task.timeout, settings["timeout"].toString());
  fill(task.delay, settings["delay"].toString());
}

}  // namespace

Task::Step StepNamed(const QString& name) { return ParseStep(name); }

Task ParseCommandLine(const QStringList& arguments) {
  Task task;
  QString controllers;
  std::vector<std::string> steps;
  CLI::App app(kDescription, "quillon-unattended");
  app.formatter(std::make_shared<ManualFormatter>());
  app.footer(kFooter);
  app.allow_windows_style_options(false);  // a path can begin with a slash
  Add(app, kHex, task.hex);
  Add(app, kPort, task.port);
  Add(app, kSpeed, task.speed);
  Add(app, kProtocol, task.protocol);
  Add(app, kTimeout, task.timeout);
  Add(app, kDelay, task.delay);
  Add(app, kControllerList, controllers);
  app.add_flag("--force", task.force, "use a file that contradicts itself anyway");
  app.add_flag("--json", task.json, "print one JSON object a line, for programs");
  Add(app, kPictures, task.pictures);
  Add(app, kRecord, task.record);
  Add(app, kBy, task.by);
  Add(app, kResume, task.resumeFrom);
  app.add_flag("--forecast", task.forecastOnly, "only print how long the downloads would take");
  app.set_help_flag("-h,--help", "print this text");
  app.set_version_flag("--version", "", "print the version");
  app.add_option("STEP", steps);

  std::vector<std::string> words;  // CLI11 expects the last one first, without the program
  for (qsizetype n = arguments.size() - 1; n > 0; --n) words.push_back(arguments[n].toStdString());
  if (!Parse(app, std::move(words), task)) return task;
  RefuseTwice(app);
  if (!controllers.isEmpty()) task.controllers = ParseControllers(controllers);
  for (const std::string& step : steps) task.steps.push_back(ParseStep(QString::fromStdString(step)));
  CheckSteps(task);
  return task;
}

void PrepareFiles(Task& task) {
  const auto refuse = [](const QString& reason) { throw Failure(ErrorCategory::kFile, reason); };
  if (!task.resumeFrom.isEmpty()) PrepareResume(task);
  task.hexGiven = task.hex;
  if (!task.record.isEmpty()) QDir().mkpath(task.record);  // the recorder reports a failure
  if (task.hex.contains(QChar::ReplacementCharacter))
    refuse("--hex: the name \"" + task.hex + "\" is no valid UTF-8. Rename the file.");
  const QFileInfo file(task.hex);
  if (!task.hex.isEmpty() && !file.isFile())
    refuse("--hex: there is no file \"" + task.hex + "\". Give the path of a HEX file.");
  if (!task.hex.isEmpty())
    task.hex = QDir::toNativeSeparators(file.absoluteFilePath());  // as the window shows it
  if (!task.pictures.isEmpty() && !QDir().mkpath(task.pictures))
    refuse("--pictures: the folder \"" + task.pictures + "\" can't be made. Give another one.");
}

}  // namespace quillon
