// quillon-line measures how good the line to each controller is, and names the probable cause of damage. This
// file parses the command line, runs the check and determines the exit status.
#include <QCoreApplication>
#include <QJsonDocument>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>

#include "command_line/arguments.h"
#include "command_line/program.h"
#include "commands/frames.h"
#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "desktop/serial_port.h"
#include "line/report.h"
#include "platform/scope_exit.h"
#include "platform/system_files.h"
#include "platform/text_file.h"
#include "unattended/console.h"
#include "unattended/error_category.h"
#include "unattended/output_queue.h"

namespace {

using namespace quillon;

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-line [OPTION]... --port N CONTROLLERS...

DESCRIPTION
  Asks each of the CONTROLLERS, such as 1,2 or 0-31, for version and
  checksum many times. Reports how many answers were intact, the probable
  cause of damage, and what to do about it. It sends nothing else and
  changes nothing.

    good          at least 20 questions, all answered intact and in time
    marginal      at most one question in ten failed, and never three in a
                  row; or a cause was found that has done no damage so far
    bad           more than one question in ten failed, or three in a row;
                  or a cause was found that makes a download impossible
    not there     no answer at any of the four speeds
    not measured  fewer than 20 questions were asked, or the controller
                  answers only at another speed

  An answer is shorter than a batch and is sent in the other direction. So
  a good line can still lose a batch.
)";

constexpr char kFooter[] = R"(JSON
  With --json each line of the output is an object. Its "event" is start,
  controller (once for each), line, file (only with --for) or end. "code"
  of the end is the exit status.

EXIT STATUS
  0   each controller is good; those of a range such as 0-31 may be absent
  1   a controller is marginal, bad or not measured, or one that was given
      as a single number is not there
  2   an option or argument is not valid
  3   the port is missing, in use, not permitted, or was removed during the
      check
  4   a file cannot be read or written
  5   ended by Ctrl-C; what was measured is shown

EXAMPLES
  Check controllers 3, 12 and 13:

    $ quillon-line --port 33 --speed 9600 3,12-13
    Asks 3 controllers, each 20 times. Takes about 34 s, at most 114 s.
    number  answered  damaged  late  time (ms) min/median/max  verdict
         3     20/20        0     0  7 / 7 / 9                 good
        12     16/20        3     0  7 / 7 / 31                bad: 3...
        13         -        -     -  -                         not there
    ...

  Exchange as many bytes as a download of the file has, and write a page:

    quillon-line --port 33 --for pump.hex --prove --html check.html 1,2,5

  Watch controller 5 while the cable is moved by hand:

    quillon-line --port 33 --watch 5
)";

struct Options {
  LinePlan plan;
  std::set<int> namedAlone;  // controllers named outside ranges: each is expected to be there
  std::string file;          // firmware for whose download the line is to be judged; "" for none
  bool proveFile = false;    // exchange at least as many bytes as the download of `file`
  bool json = false;
  std::string html;    // "" for none
  std::string record;  // folder of job records; "" for none
};

/// Puts the controllers of lists, such as "1,2" or "0-31", into the plan.
void ReadControllers(const std::vector<std::string>& lists, Options& options) {
  std::set<int> all;
  for (const std::string& list : lists) {
    const QString text = QString::fromStdString(list);
    for (const int number : ParseControllers(text)) all.insert(number);
    for (const QString& word : text.split(','))
      if (!word.contains('-')) options.namedAlone.insert(word.toInt());
  }
  options.plan.controllers.assign(all.begin(), all.end());
}

/// Returns a status that ends the program, or nothing when there is work.
std::optional<int> ReadCommandLine(Options& options) {
  int protocol = 63;
  int timeout = 500;
  std::vector<std::string> controllers;
  LinePlan& plan = options.plan;
  CommandLine app("quillon-line", kDescription, kFooter);
  app.AddHelp(QUILLON_VERSION);
  app.add_option("CONTROLLERS", controllers)->required();
  app.AddNumber("--port", plan.port, 1, 99, "number of the port, as in \"Com Port\", 1 to 99")->required();
  app.AddNumber("--speed", plan.baud, 300, 1000000, "bits per second (9600)");
  app.AddNumber("--protocol", protocol, 0, 254, "as in the field \"Protocol\" (63)");
  app.AddNumber("--questions", plan.questions, 1, 100000, "questions to each controller (20)");
  app.AddNumber("--timeout", timeout, 10, 60000, "milliseconds after which an answer is late (500)");
  auto* file = app.AddText("--for", options.file, "FILE", "compare with a parallel download of FILE");
  app.add_flag("--prove", options.proveFile, "exchange as many bytes as a download of FILE")->needs(file);
  auto* json = app.add_flag("--json", options.json, "print one JSON object a line");
  app.add_flag("--watch", plan.watch, "ask until Ctrl-C, and print one line for each round")->excludes(json);
  app.AddText("--html", options.html, "FILE", "write a page with a plot for each controller");
  app.AddText("--record", options.record, "DIR", "write a job record into this folder, which is created");
  if (const auto status = app.Parse(WordsToParse(QCoreApplication::arguments()))) return status;
  ReadControllers(controllers, options);
  plan.protocolByte = static_cast<std::uint8_t>(protocol + 1);  // the field contains one less
  plan.timeout = timeout / 1000.0;
  return std::nullopt;
}

void PrintEvent(OutputQueue& output, const QJsonObject& event) {
  output.Write(QJsonDocument(event).toJson(QJsonDocument::Compact).toStdString() + "\n");
}

void Announce(const Options& options, OutputQueue& output) {
  const double longest = std::ceil(LongestSeconds(options.plan));
  const auto controllers = static_cast<int>(options.plan.controllers.size());
  if (options.json)
    return PrintEvent(output, {{"event", "start"},
                               {"controllers", controllers},
                               {"questions", options.plan.questions},
                               {"secondsAtMost", longest}});
  if (options.plan.watch) return output.Write("Ends with Ctrl-C.\n");
  output.Write(QString::asprintf("Asks %d controllers, each %d times. Takes about %.0f s, at most %.0f s.\n",
                                 controllers, options.plan.questions, std::ceil(UsualSeconds(options.plan)),
                                 longest)
                   .toStdString());
}

LineMeasurement Measure(const Options& options, OutputQueue& output) {
  DesktopClock clock;
  DesktopEvents events(clock);
  SerialPort port(system_files::ProgramFolder());
  Announce(options, output);
  const bool showsProgress = !options.plan.watch && console::IsTerminal(stderr);
  const ScopeExit erase([showsProgress] { std::fputs(showsProgress ? "\r     \r" : "", stderr); });
  const auto observe = [&](const LineMeasurement& soFar, int round) {
    if (showsProgress) std::fprintf(stderr, "\r%3d %%", 100 * round / options.plan.questions);
    if (options.plan.watch) output.Write(RoundText(soFar) + "\n");
  };
  try {
    return MeasureLine(clock, events, port, options.plan, console::Interrupted, observe);
  } catch (const RunError& error) {
    output.Finish(std::chrono::steady_clock::now() + std::chrono::seconds(1));  // before the error text
    // The number of a RunError does not show that: some are used for both ports and files.
    throw Failure(ErrorCategory::kPort, error.what());
  }
}

ErrorCategory StatusOf(const Options& options, const LineReport& report) {
  if (report.measurement.cancelled) return ErrorCategory::kCancelled;
  const auto isAsExpected = [&](const ControllerDiagnosis& controller) {
    // A controller that was only part of a range may be missing.
    return controller.IsThere() ? controller.verdict.good : !options.namedAlone.contains(controller.number);
  };
  return std::ranges::all_of(report.diagnosis.controllers, isAsExpected) ? ErrorCategory::kNone
                                                                         : ErrorCategory::kController;
}

ErrorCategory Run(Options options, OutputQueue& output) {
  std::vector<std::size_t> batchFrameSizes;
  if (!options.file.empty()) batchFrameSizes = BatchFrameSizes(ReadFile(options.file));
  if (options.proveFile)
    options.plan.questions = std::max(options.plan.questions, ProveFile({}, batchFrameSizes).questions);
  const LineMeasurement measurement = Measure(options, output);
  const LineReport report{measurement, Diagnose(measurement), std::move(batchFrameSizes)};
  if (!options.json) output.Write(TextReport(report));
  if (options.json)
    for (const QJsonObject& event : JsonReport(report)) PrintEvent(output, event);
  ErrorCategory status = StatusOf(options, report);
  if (!options.record.empty() && !WriteRecord(report, options.record))
    status = Worse(status, ErrorCategory::kFile);
  if (!options.html.empty()) ReplaceFile(options.html, HtmlReport(report));
  if (options.json) PrintEvent(output, {{"event", "end"}, {"code", static_cast<int>(status)}});
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  system_files::PrepareProcess();
  const QCoreApplication application(argc, argv);
  console::Prepare();
  OutputQueue output(stdout);  // a program that stops reading must not delay the check or its end by Ctrl-C
  const int status = RunProgram("quillon-line", [&output] {
    Options options;
    if (const auto answered = ReadCommandLine(options)) return *answered;
    return static_cast<int>(Run(std::move(options), output));
  });
  if (output.Finish(std::chrono::steady_clock::now() + std::chrono::seconds(5))) return status;
  std::_Exit(kFileStatus);
}
