// quillon-unattended runs the real windows over a real serial line without an operator: it presses the
// buttons, fills the dialogs, answers the boxes, and prints what an operator would see. This file has the
// order of a run and the exit status:
//
//     ParseTask        the command line; with --help or --version its text is printed, and that is all
//     PrintEstimates   with --forecast: how long the steps will take
//     RunSteps         otherwise: creates the windows and lets an Operator work
//
// Each error has a category, whose number is the exit status.
#include <QApplication>
#include <QOperatingSystemVersion>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "desktop/program.h"
#include "desktop/theme.h"
#include "platform/system_files.h"
#include "records/job_recorder.h"
#include "results/estimate.h"
#include "shell/start_stop.h"
#include "unattended/console.h"
#include "unattended/operator.h"
#include "unattended/output_formatter.h"
#include "unattended/output_queue.h"
#include "unattended/task.h"

namespace {

using quillon::ErrorCategory;
using quillon::OutputFormatter;
using quillon::Task;

/// How the program ends.
struct ProgramEnd {
  int status;
  /// Not if output is unwritten: a thread then still writes to a stream whose reader has stalled.
  bool destructorsMayRun = true;
};

int StatusOf(ErrorCategory category) { return static_cast<int>(category); }

/// Drops the messages of Qt, which are for developers. Only one of them is fatal: it reports that the display
/// can't be reached, and Qt would abort after it. The program prints its own error and exits instead.
void HandleQtMessage(QtMsgType kind, const QMessageLogContext&, const QString&) {
  if (kind != QtFatalMsg) return;
  std::fputs(
      "quillon-unattended: the display can't be reached. None is needed: set QT_QPA_PLATFORM=offscreen.\n",
      stderr);
  std::_Exit(StatusOf(ErrorCategory::kUsage));
}

/// Parses the command line with an application that has no windows, so that an error in it is reported even
/// if there is no display.
Task ParseTask(int argc, char** argv) {
  const QCoreApplication withoutWindows(argc, argv);
  Task task = quillon::ParseCommandLine(QCoreApplication::arguments());
  quillon::PrepareFiles(task);
  return task;
}

ProgramEnd Print(const QString& text) {
  std::fputs(qUtf8Printable(text), stdout);
  const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return {StatusOf(written ? ErrorCategory::kNone : ErrorCategory::kFile)};
}

ProgramEnd PrintError(int status, const char* reason) {
  constexpr std::chrono::seconds kLongestWait(5);
  quillon::OutputQueue errors(stderr);
  errors.Write(std::string("quillon-unattended: ") + reason + '\n');
  return {status, errors.Finish(std::chrono::steady_clock::now() + kLongestWait)};
}

/// Estimates a step from the command line and the firmware file.
quillon::Estimate EstimateStep(const Task& task, const Task::Step& step, const std::string& folder) {
  const QList<int> controllers = step.controllers.value_or(task.controllers.value_or(QList<int>{}));
  quillon::RunStarted run{};
  run.kind = step.kind;
  run.file = task.hex.toStdString();
  run.speed = task.speed.toStdString();
  run.delay = task.delay.toStdString();
  run.controllers.assign(controllers.begin(), controllers.end());
  quillon::RunFacts facts = quillon::FactsOf(run, quillon::DownloadSpeed(folder));
  quillon::ReadImage(run.file, facts);
  return quillon::Estimate(std::move(facts));
}

void PrintEstimates(const Task& task, const std::string& folder, OutputFormatter& output) {
  for (const Task::Step& step : task.steps) {
    const quillon::Estimate estimate = EstimateStep(task, step, folder);
    const double seconds = quillon::Rounded(estimate.SecondsLeft(0));
    output.Report("step",
                  QString("step %1: %2 batches, %3 s").arg(step.text).arg(estimate.Batches()).arg(seconds),
                  {{"step", step.text},
                   {"batches", estimate.Batches()},
                   {"controllers", estimate.Controllers()},
                   {"seconds", seconds}});
  }
  if (task.json) output.Report("end", "", {{"code", StatusOf(ErrorCategory::kNone)}});
}

/// Makes Qt draw the windows in memory if the computer has no display and the user has chosen none.
void ReplaceMissingDisplay() {
  const bool mayLackDisplay = QOperatingSystemVersion::currentType() != QOperatingSystemVersion::Windows;
  if (mayLackDisplay && qEnvironmentVariableIsEmpty("DISPLAY") &&
      qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
}

/// Runs the steps of the task by operating the windows. Returns the worst error.
ErrorCategory RunSteps(const Task& task, const std::string& folder, OutputFormatter& output, int argc,
                       char** argv) {
  ReplaceMissingDisplay();
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::console::Prepare();
  quillon::ApplyTheme(application);
  quillon::Operator simulatedOperator(task, folder, output);
  std::optional<quillon::JobRecorder> recorder;
  quillon::Program program(folder);
  program.AddObserver(simulatedOperator);
  if (!task.record.isEmpty()) {
    program.AddObserver(recorder.emplace(task.record, folder, quillon::RecordLabels{task.by, task.hexGiven},
                                         [&](const QString& text) {
                                           output.Report("warning", text, {{"text", text}});
                                         }));
  }
  program.Start();
  // The task runs inside the event loop, and ends it by pressing Exit.
  QTimer::singleShot(0, &application, [&] { simulatedOperator.RunTask(); });
  program.ServeUntilEnd();
  if (recorder) recorder->Wait();
  simulatedOperator.ReportEnd();
  return simulatedOperator.Outcome();
}

ProgramEnd Run(int argc, char** argv) {
  const Task task = ParseTask(argc, argv);
  if (!task.textToPrint.isEmpty()) return Print(task.textToPrint);
  const std::string folder = quillon::system_files::ProgramFolder();
  OutputFormatter output(task.json ? OutputFormatter::Form::kJson : OutputFormatter::Form::kText);
  ErrorCategory category = ErrorCategory::kNone;
  if (task.estimateOnly) {
    PrintEstimates(task, folder, output);
  } else {
    // Qt gets only the program's name, because it would interpret options such as -style.
    const int argumentCount = argc > 0 ? 1 : 0;
    category = RunSteps(task, folder, output, argumentCount, argv);
  }
  if (output.Finish()) return {StatusOf(category)};
  output.ReportError("quillon-unattended: the output could not be written, so lines of it are lost");
  return {StatusOf(quillon::Worse(category, ErrorCategory::kFile)), false};
}

ProgramEnd RunWithErrors(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const quillon::Failure& failure) {
    return PrintError(StatusOf(failure.category), failure.what());
  } catch (const quillon::RunError& error) {
    return PrintError(StatusOf(ErrorCategory::kFile), error.what());
  } catch (const std::exception& error) {
    return PrintError(EXIT_FAILURE, error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  quillon::system_files::PrepareProcess();
  qInstallMessageHandler(HandleQtMessage);
  const ProgramEnd end = RunWithErrors(argc, argv);
  if (!end.destructorsMayRun) std::_Exit(end.status);
  return end.status;
}
