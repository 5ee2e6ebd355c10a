// Parses and checks the command line of quillon-unattended. A wrong word is reported before any window or
// port is used, because a guess could erase a controller. For example
//
//     quillon-unattended --hex new.hex --port 33 --controllers 1-4 parallel serial:failed
//
// becomes a Task with two steps. Each option that has a value is declared once, as a ValueOption: the parser,
// the check and --help use it. kDescription and kFooter are the rest of the help.
#include "unattended/task.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>

#include "command_line/arguments.h"
#include "command_line/program.h"
#include "forms/quillon.h"

namespace quillon {
namespace {

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
  Runs the windows of Quillon without an operator: chooses the file,
  presses the buttons, answers the boxes, and prints what an operator would
  see. It needs no display. A value that no option gives is taken from the
  saved settings, which are not changed. Ctrl-C and the signal TERM cancel
  the run.

  The steps run in the order given:

    parallel     erase the ticked controllers, load the file into all of
                 them at once, then read each of them back
    serial       the same, one controller after the other
    flash-info   read version and checksum of the firmware
    boot-info    read version and checksum of the boot code
    auto         tick the controllers that are on the line

  A list after a step ticks these controllers for this step and the steps
  after it: serial:1,3 or flash-info:0-3,7. The word failed in place of a
  list means the controllers whose last verdict in this invocation is not
  good. If there are none, the step is skipped.

  On a terminal the last line shows batches and controllers done, the time
  passed and an estimate of the time left, which does not include the
  erasing. After each step one row reports each ticked controller.

  Only one copy can run in a folder at a time: a second one cannot write
  its log and exits with status 4. A program that stops reading the output
  does not delay a run. At the end quillon-unattended waits for it for up
  to five seconds. If lines are lost, it exits with status 4.
)";

constexpr char kFooter[] = R"(VERDICTS
  The verdict considers all that the run learned, not only the row, which
  shows 16 bits of the checksum. "verdict" and "evidence" of the JSON
  output are as follows. The row shows BAD for every verdict other than
  good, read and found:

    good        proven: the controller acknowledged every batch, confirmed
                the full checksum, and reads back equal to the file
                confirmed: it confirmed the full checksum and reads back
                equal (parallel download)
                read-back: it reads back equal; this step loaded nothing
    read        it was read, and there was no file to compare it with
    found       it answered to auto
    contradictory
                it refused the full checksum, although it reads back equal;
                or an answer came from another controller; or two answers
                differ
    unconfirmed
                it was loaded and reads back equal, but neither confirmed
                nor refused the full checksum
    no-answer, damaged-answers
                it did not answer, or all its answers were damaged
    refused, erase-refused
                it refused to be programmed, or to be erased
    not-programmed, other-image
                it was loaded, or only read, and reports another checksum
                than that of the file
    not-read    the run ended before it was read

  flash-info never improves the verdict of a download in the same
  invocation; only another download does.

JSON
  With --json each line of the output is an object with "event" and "time"
  in seconds:

    step        "step", "batches", "controllers", "seconds" (the estimate)
    status      "text", "batchesDone", "controllersDone", "secondsLeft"
    box         "number" (0: none), "title", "text"
    skipped     "step", "text"
    controller  "number", "version", "checksum", "verdict", "evidence",
                "reason", "gap", "advice"
    gaps        "text": what the gaps of several controllers have in common
    warning, failure   "text"
    end         "code" (the exit status)

  "verdict" and "evidence" stay the same from version to version; "reason"
  and "advice" are for people and may change.

  If a controller reports another checksum than the file has, "gap" names
  the missing batches that would explain it. They are candidates, not
  findings. It is empty where more than three fit.

EXIT STATUS
  0   success
  1   the last verdict of a controller is not good, read or found
  2   an option or argument is not valid, or a field is empty
  3   the port is missing, in use, not permitted, or was removed during a
      run
  4   a file is missing, not readable or contradicts itself, or the log or
      the output cannot be written
  5   cancelled by Ctrl-C or TERM: the run stopped at its next step

  If several apply, the first of 5, 3, 4, 2, 1 counts. After 1 the next
  step runs; after the others none. A job record that cannot be written
  causes a warning and does not change the exit status.

EXAMPLES
  Read the firmware of controllers 0 and 1:

    $ quillon-unattended --port 7 --speed 9600 --protocol 63 \
          --timeout 3000 flash-info:0-1
       0.133  step flash-info:0-1
       0.165  Controller 0 : Checking Flash  (Speed : 9600 Bds) ...
       0.755  Controller 1 : Checking Flash  (Speed : 9600 Bds) ...
              step flash-info:0-1 is over
       1.298  Controller 0  01/02/03 | 1E02 | read
              read: it was read; there is no file to compare it...
       1.298  Controller 1  01/02/03 | 1E02 | read
              read: it was read; there is no file to compare it...
       1.299  all went well

  Load four controllers at once, and then each that is not good alone:

    quillon-unattended --hex new.hex --port 33 --speed 9600 --protocol 63 \
        --timeout 3000 --delay 170 --controllers 1-4 parallel serial:failed

  Find the controllers on the line and read them, with the speed, protocol
  and time-out of the saved settings:

    quillon-unattended --port 33 auto flash-info

  Print only the checksums, with the program jq:

    quillon-unattended --port 33 --speed 9600 --protocol 63 \
        --timeout 3000 --json flash-info:1,2 |
        jq -r 'select(.event == "controller") | .checksum'

  Finish a download that was cut off:

    quillon-unattended --resume Jobs/20261124T101112Z-parallel.jsonl
)";

[[noreturn]] void Refuse(const QString& reason) { throw Failure(ErrorCategory::kUsage, reason); }

/// Parses a step such as "serial:1,3", "serial:failed" or "auto".
Task::Step ParseStep(const QString& text) {
  const QString name = text.section(':', 0, 0);
  const auto* known = std::ranges::find_if(kKnownSteps, [&](const auto& step) { return name == step.name; });
  if (known == std::end(kKnownSteps)) {
    Refuse("\"" + name + "\" is not a step. Give parallel, serial, flash-info, boot-info or auto.");
  }
  Task::Step step{text, known->kind, known->button, std::nullopt};
  if (!text.contains(':')) return step;
  if (text.section(':', 1) == "failed") {
    step.failedOnly = true;
    return step;
  }
  try {
    step.controllers = ParseControllers(text.section(':', 1));
  } catch (const ExitError& error) {
    Refuse(text + ": " + error.what());
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
  return "\"" + value + "\" is not a speed. Give one of " + Speeds().join(", ") + ".";
}

QString CheckControllers(const QString& value) {
  try {
    ParseControllers(value);
    return "";
  } catch (const ExitError& error) {
    return error.what();
  }
}

QString CheckFileName(const QString& value) {
  return value.isEmpty() ? "\"\" is not a file name. Give the path of a file." : "";
}

QString CheckFolderName(const QString& value) {
  return value.isEmpty() ? "\"\" is not a folder. Give the path of a folder." : "";
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
const ValueOption kHex{"--hex", "FILE", "firmware file (Intel HEX)", CheckFileName};
const ValueOption kPort = NumberOption("--port", "N", "number of the port, as in \"Com Port\"", 1, 99);
const ValueOption kSpeed{"--speed", "BAUD", "one of " + Speeds().join(", ").toStdString(), CheckSpeed};
const ValueOption kProtocol = NumberOption("--protocol", "N", "as in the field \"Protocol\"", 0, 254);
const ValueOption kTimeout =
    NumberOption("--timeout", "MS", "milliseconds to wait for an answer", 1, INT32_MAX);
const ValueOption kDelay =
    NumberOption("--delay", "MS", "milliseconds from one batch of parallel to the next", 0, INT16_MAX);
const ValueOption kControllerList{"--controllers", "LIST",
                                  "tick these controllers, such as 1,2,5 or 0-3,7, and no others",
                                  CheckControllers};
const ValueOption kRecord{"--record", "DIR", "write a job record of each step into this folder",
                          CheckFolderName};
const ValueOption kBy{"--by", "NAME", "name of the operator in the job records",
                      [](const QString&) { return QString(); }};
const ValueOption kResume{"--resume", "RECORD", "finish the download that this job record describes",
                          CheckFileName};
const ValueOption kPictures{"--pictures", "DIR", "save screenshots of the windows in this folder",
                            CheckFolderName};

/// Adds an option whose value goes to `target`.
CLI::Option* Add(CLI::App& app, const ValueOption& option, QString& target) {
  const auto check = [&option](const std::string& value) {
    return option.check(QString::fromStdString(value)).toStdString();
  };
  return app
      .add_option_function<std::string>(
          option.name, [&target](const std::string& value) { target = QString::fromStdString(value); },
          option.help)
      ->type_name(option.value)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
      ->check(CLI::Validator(check, ""));
}

/// Refuses an option that is given twice, because it is unknown which of the two values is meant.
void RefuseTwice(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const bool repeatable = option->get_positional() || option->get_type_size() == 0;
    if (!repeatable && option->count() > 1)
      Refuse(QString::fromStdString(option->get_name()) + " is given twice. Give it once.");
  }
}

/// Whether the command line alone has all that the estimate of a step depends on.
bool CanEstimate(const Task& task, const Task::Step& step) {
  if (!IsDownload(step.kind) || step.failedOnly || task.speed.isEmpty()) return false;
  if (!task.controllers && !step.controllers) return false;
  return step.kind != RunKind::kParallel || !task.delay.isEmpty();
}

void CheckSteps(const Task& task) {
  if (!task.resumeFrom.isEmpty()) return;  // the record determines the steps
  if (task.steps.empty())
    Refuse("no step is given. Give one, such as parallel. See quillon-unattended --help.");
  for (const Task::Step& step : task.steps) {
    if (IsDownload(step.kind) && task.hex.isEmpty()) Refuse(step.text + " needs a file. Give --hex FILE.");
    if (task.estimateOnly && !CanEstimate(task, step)) {
      Refuse("--forecast: " + step.text +
             " can't be estimated. Give downloads, with --speed, --controllers and, for parallel, --delay.");
    }
  }
}

/// Parses the words. Returns false for --help and --version, whose text is then in `task`.
bool Parse(CLI::App& app, std::vector<std::string> words, Task& task) {
  try {
    app.parse(std::move(words));
    return true;
  } catch (const CLI::CallForHelp&) {
    task.textToPrint = QString::fromStdString(app.help());
  } catch (const CLI::CallForVersion& version) {
    task.textToPrint = QString(version.what()) + "\n";
  } catch (const CLI::ValidationError& error) {
    Refuse(error.what());
  } catch (const CLI::ParseError& error) {
    Refuse(QString(error.what()) + ". See quillon-unattended --help.");
  }
  return false;
}

/// Reads the record to resume from. What the command line does not give is as in the recorded run.
void PrepareResume(Task& task) {
  try {
    task.resume.emplace(ReadRecord(task.resumeFrom), task.protocol);
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
  CommandLine app("quillon-unattended", kDescription, kFooter);
  CLI::Option* hex = Add(app, kHex, task.hex);
  Add(app, kPort, task.port);
  Add(app, kSpeed, task.speed);
  Add(app, kProtocol, task.protocol);
  Add(app, kTimeout, task.timeout);
  Add(app, kDelay, task.delay);
  CLI::Option* controllerList = Add(app, kControllerList, controllers);
  app.add_flag("--force", task.force, "use the file even if it contradicts itself");
  app.add_flag("--json", task.json, "print one JSON object a line");
  Add(app, kPictures, task.pictures);
  Add(app, kBy, task.by)->needs(Add(app, kRecord, task.record));
  CLI::Option* resume = Add(app, kResume, task.resumeFrom)->excludes(hex)->excludes(controllerList);
  app.add_flag(
         "--forecast", task.estimateOnly,
         "print batches and seconds of downloads, and run nothing; needs --speed, and --delay for parallel")
      ->excludes(resume);
  app.AddHelp(QUILLON_VERSION);
  app.add_option("STEP", steps)->excludes(resume);

  if (!Parse(app, WordsToParse(arguments), task)) return task;
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
    refuse("--hex: the name \"" + task.hex + "\" is not valid UTF-8. Rename the file.");
  const QFileInfo file(task.hex);
  if (!task.hex.isEmpty() && !file.isFile())
    refuse("--hex: the file \"" + task.hex + "\" does not exist. Give the path of a HEX file.");
  if (!task.hex.isEmpty())
    task.hex = QDir::toNativeSeparators(file.absoluteFilePath());  // as the window shows it
  if (!task.pictures.isEmpty() && !QDir().mkpath(task.pictures))
    refuse("--pictures: the folder \"" + task.pictures + "\" can't be created. Give another one.");
}

}  // namespace quillon
