// quillon-line: how good is the line to each controller?
#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>

#include "commands/frames.h"
#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "desktop/serial_port.h"
#include "image/batch_reader.h"
#include "line/options.h"
#include "line/report.h"
#include "platform/run_error.h"
#include "platform/system_files.h"
#include "unattended/console.h"

namespace {

using namespace quillon;

enum ExitStatus { kGood = 0, kNotGood = 1, kUsage = 2, kPort = 3, kFile = 4, kCancelled = 5 };

/// A failure of the port, whose numbers partly are those of files too.
struct PortFailure : std::runtime_error {
  using runtime_error::runtime_error;
};

/// Bytes of each batch's frame; none without a file.
std::vector<std::size_t> BatchFrames(const std::string& path) {
  std::vector<std::size_t> frames;
  if (path.empty()) return frames;
  const std::string file = ReadFile(path);
  for (BatchReader batches(file); !batches.AtEnd();)
    frames.push_back(BatchFrame(kBroadcast, batches.Next()).size());
  return frames;
}

void Print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

void PrintEvent(const QJsonObject& event) {
  Print(QJsonDocument(event).toJson(QJsonDocument::Compact).toStdString() + "\n");
}

void Announce(const LineOptions& options, const LineCheck& check) {
  const double longest = std::ceil(check.LongestSeconds());
  if (options.json)
    return PrintEvent({{"event", "start"},
                       {"controllers", static_cast<int>(options.plan.controllers.size())},
                       {"questions", options.plan.questions},
                       {"secondsAtMost", longest}});
  if (options.watch) return Print("Ends with Ctrl-C.\n");
  Print(QString("Asks %1 controllers, each %2 times. Takes about %3 s, at most %4 s.\n")
            .arg(options.plan.controllers.size())
            .arg(options.plan.questions)
            .arg(std::ceil(check.UsualSeconds()))
            .arg(longest)
            .toStdString());
}

/// On a terminal one line that is overwritten.
void ShowProgress(const LineMeasurement& measurement) {
  std::size_t rounds = 0;
  for (const MeasuredController& controller : measurement.controllers)
    rounds = std::max(rounds, controller.questions.size());
  const std::size_t all = static_cast<std::size_t>(measurement.plan.questions);
  std::fprintf(stderr, rounds < all ? "\r%3zu %%" : "\r     \r", 100 * rounds / all);
}

LineMeasurement Measure(const LineOptions& options) {
  DesktopClock clock;
  DesktopEvents events(clock);
  SerialPort port(system_files::ProgramFolder());
  LineCheck check(clock, events, port, options.plan, console::Interrupted);
  Announce(options, check);
  const bool progress = !options.watch && console::IsTerminal(stderr);
  const auto observe = [&](const LineMeasurement& sofar, bool roundEnds) {
    if (progress && roundEnds) ShowProgress(sofar);
    if (options.watch && roundEnds) Print(RoundText(sofar) + "\n");
  };
  try {
    return check.Run(observe);
  } catch (const RunError& error) {
    throw PortFailure(error.what());
  }
}

void WritePage(const std::string& path, const LineReport& report) {
  const std::string now = QDateTime::currentDateTime().toString("yyyy-MM-dd hh:mm").toStdString();
  if (!path.empty()) ReplaceFile(path, HtmlReport(report, now));
}

ExitStatus StatusOf(const LineOptions& options, const LineDiagnosis& diagnosis) {
  for (const ControllerDiagnosis& controller : diagnosis.controllers) {
    const bool absent =
        controller.verdict == LineVerdict::kNotThere && !options.named.contains(controller.number);
    if (controller.verdict != LineVerdict::kGood && !absent) return kNotGood;
  }
  return kGood;
}

int Run(LineOptions options) {
  const std::vector<std::size_t> frames = BatchFrames(options.file);
  if (options.prove)
    options.plan.questions = std::max(options.plan.questions, ProveFile({}, frames).questions);
  if (options.watch) options.plan.questions = INT_MAX;
  const LineMeasurement measurement = Measure(options);
  const LineReport report{measurement, Diagnose(measurement), frames};
  WritePage(options.html, report);
  const bool recorded = options.record.empty() || WriteRecord(report, options.record, measurement.seconds);
  Print(options.json ? JsonReport(report) : TextReport(report));
  int status = measurement.cancelled ? kCancelled : StatusOf(options, report.diagnosis);
  if (!recorded) status = kFile;
  if (options.json) PrintEvent({{"event", "end"}, {"code", status}});
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  system_files::OpenMissingStreams();
  const QCoreApplication application(argc, argv);
  console::Prepare();
  try {
    const LineOptions options = ParseLineOptions(argc, argv);
    int status = kGood;
    if (options.answer.empty()) {
      status = Run(options);
    } else {
      Print(options.answer);
    }
    return std::ferror(stdout) == 0 ? status : kFile;
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "quillon-line: %s. See quillon-line --help.\n", error.what());
    return kUsage;
  } catch (const PortFailure& failure) {
    std::fprintf(stderr, "quillon-line: %s\n", failure.what());
    return kPort;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillon-line: %s\n", error.what());
    return kFile;
  }
}
