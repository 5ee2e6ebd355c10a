// quillon-unattended runs the real windows over a real serial line without an operator: it presses the
// buttons, fills the dialogs, answers the boxes, and reports on the standard output what an operator would
// see.
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

/// Exit status, and whether destructors may run.
struct Ending {
  int status;
  bool outputWritten = true;  ///< if not, a thread may still write to a stream whose reader is stalled
};

int StatusOf(ErrorCategory category) { return static_cast<int>(category); }

/// Drops the messages of Qt, which are for developers. The only fatal one reports a display that can't be
/// reached. Qt would abort after it, so the program prints its own error and exits.
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

Ending Print(const QString& answer) {
  std::fputs(qUtf8Printable(answer), stdout);
  const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return {StatusOf(written ? ErrorCategory::kNone : ErrorCategory::kFile)};
}

Ending PrintError(int status, const char* reason) {
  constexpr std::chrono::seconds kLongestWait(5);
  quillon::OutputQueue errors(stderr);
  errors.Write(std::string("quillon-unattended: ") + reason + '\n');
  return {status, errors.Finish(std::chrono::steady_clock::now() + kLongestWait)};
}

ErrorCategory PrintEstimates(const Task& task, const std::string& folder, OutputFormatter& output) {
  for (const Task::Step& step : task.steps) {
    const QList<int> controllers = step.controllers.value_or(task.controllers.value_or(QList<int>{}));
    quillon::RunStarted run{};
    run.kind = step.kind;
    run.file = task.hex.toStdString();
    run.speed = task.speed.toStdString();
    run.delay = task.delay.toStdString();
    run.controllers.assign(controllers.begin(), controllers.end());
    quillon::RunFacts facts = quillon::FactsOf(run, quillon::DownloadSpeed(folder));
    quillon::ReadImage(run.file, facts);
    const quillon::Estimate estimate(std::move(facts));
    const double seconds = quillon::Rounded(estimate.SecondsLeft(0));
    output.Report("step",
                  QString("step %1: %2 batches, %3 s").arg(step.words).arg(estimate.Batches()).arg(seconds),
                  {{"step", step.words},
                   {"batches", estimate.Batches()},
                   {"controllers", estimate.Controllers()},
                   {"seconds", seconds}});
  }
  if (task.json) output.Report("end", "", {{"code", StatusOf(ErrorCategory::kNone)}});
  return ErrorCategory::kNone;
}

/// Runs the steps of the task at the windows.
ErrorCategory RunSteps(const Task& task, const std::string& folder, OutputFormatter& output, int argc,
                       char** argv) {
  const bool mayLackDisplay = QOperatingSystemVersion::currentType() != QOperatingSystemVersion::Windows;
  if (mayLackDisplay && qEnvironmentVariableIsEmpty("DISPLAY") &&
      qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::console::Prepare();
  quillon::ApplyTheme(application);
  quillon::Operator runner(task, folder, output);
  std::optional<quillon::JobRecorder> recorder;
  quillon::Program program(folder);
  program.AddObserver(runner);
  if (!task.record.isEmpty()) {
    program.AddObserver(recorder.emplace(task.record, folder, quillon::RecordLabels{task.by, task.hexGiven},
                                         [&](const QString& text) {
                                           output.Report("warning", text, {{"text", text}});
                                         }));
  }
  program.Start();
  QTimer::singleShot(0, &application, [&] { runner.Work(); });
  program.ServeUntilEnd();
  if (recorder) recorder->Wait();
  runner.ReportEnd();
  return runner.Outcome();
}

Ending Run(int argc, char** argv) {
  const Task task = ParseTask(argc, argv);
  if (!task.answer.isEmpty()) return Print(task.answer);  // of --help or --version
  const std::string folder = quillon::system_files::ProgramFolder();
  OutputFormatter output(task.json ? OutputFormatter::Form::kJson : OutputFormatter::Form::kText);
  const int programNameOnly = argc > 0 ? 1 : 0;  // Qt would interpret options such as -style
  const ErrorCategory category = task.forecastOnly ? PrintEstimates(task, folder, output)
                                                   : RunSteps(task, folder, output, programNameOnly, argv);
  if (output.Finish()) return {StatusOf(category)};
  output.ReportError("quillon-unattended: the output could not be written, so lines of it are lost");
  return {StatusOf(quillon::Worse(category, ErrorCategory::kFile)), false};
}

Ending RunWithErrors(int argc, char** argv) {
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
  const Ending ending = RunWithErrors(argc, argv);
  if (!ending.outputWritten) std::_Exit(ending.status);
  return ending.status;
}
