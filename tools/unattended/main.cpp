// Runs the real windows over a real serial line with nobody there: presses the buttons, fills the dialogs and
// answers the boxes as an operator would, and says on standard output what such an operator saw.
#include <QApplication>
#include <QOperatingSystemVersion>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

#include "desktop/house_look.h"
#include "desktop/program.h"
#include "platform/system_files.h"
#include "unattended/console.h"
#include "unattended/operator.h"
#include "unattended/task.h"

namespace {

using quillon::Trouble;

int End(Trouble trouble) { return static_cast<int>(trouble); }

/// What Qt says is for its own developers. Its one way to fail is that it finds no display; it would then
/// abort.
void HearQt(QtMsgType kind, const QMessageLogContext&, const QString&) {
  if (kind != QtFatalMsg) return;
  std::fputs(
      "quillon-unattended: the display can't be reached. None is needed: set QT_QPA_PLATFORM=offscreen.\n",
      stderr);
  std::_Exit(End(Trouble::kUsage));
}

/// The task is read before there is an application with windows, so that a word which makes no sense opens
/// nothing, needs no display, and is the only thing said.
quillon::Task TaskOf(int argc, char** argv) {
  const QCoreApplication withoutWindows(argc, argv);
  return quillon::ReadCommandLine(QCoreApplication::arguments());
}

int Tell(const QString& answer) {
  std::fputs(qUtf8Printable(answer), stdout);
  return End(std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? Trouble::kNone : Trouble::kFile);
}

int Foretell(const quillon::Task& task, const std::string& folder) {
  quillon::Teller teller(task.json ? quillon::Teller::Form::kJson : quillon::Teller::Form::kText);
  for (const quillon::Task::Step& step : task.steps) {
    quillon::RunFacts facts = quillon::FactsOf(step.job, task.hex, folder);
    const QList<int> controllers = step.controllers.value_or(task.controllers.value_or(QList<int>{}));
    facts.controllers.assign(controllers.begin(), controllers.end());
    facts.speed = task.speed.toInt();
    facts.delay = task.delay.toInt() / 1000.0;
    const quillon::Forecast forecast(std::move(facts));
    const double seconds = quillon::Rounded(forecast.SecondsLeft(0));
    teller.Tell("step",
                QString("step %1: %2 batches, %3 s").arg(step.words).arg(forecast.Batches()).arg(seconds),
                {{"step", step.words},
                 {"batches", forecast.Batches()},
                 {"controllers", forecast.Controllers()},
                 {"seconds", seconds}});
  }
  if (task.json) teller.Tell("end", "", {{"code", End(Trouble::kNone)}});
  return End(teller.Whole() ? Trouble::kNone : Trouble::kFile);
}

int Work(const quillon::Task& task, const std::string& folder, int argc, char** argv) {
  const bool mayLackDisplay = QOperatingSystemVersion::currentType() != QOperatingSystemVersion::Windows;
  if (mayLackDisplay && qEnvironmentVariableIsEmpty("DISPLAY") &&
      qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::console::Prepare();
  quillon::GiveHouseLook(application);
  quillon::Operator operatorAtWork(task, folder);
  quillon::Program program(folder);
  program.Start();
  QTimer::singleShot(0, &application, [&] { operatorAtWork.Work(); });
  program.ServeUntilEnd();
  return End(operatorAtWork.Outcome());
}

}  // namespace

int main(int argc, char** argv) {
  quillon::system_files::OpenMissingStreams();
  qInstallMessageHandler(HearQt);
  try {
    const quillon::Task task = TaskOf(argc, argv);
    if (!task.answer.isEmpty()) return Tell(task.answer);
    const std::string folder = quillon::system_files::ProgramFolder();
    if (task.forecastOnly) return Foretell(task, folder);
    return Work(task, folder, argc > 0 ? 1 : 0, argv);
  } catch (const quillon::Failure& failure) {
    std::fprintf(stderr, "quillon-unattended: %s\n", failure.what());
    return End(failure.trouble);
  } catch (const quillon::RunError& error) {
    std::fprintf(stderr, "quillon-unattended: %s\n", error.what());
    return End(Trouble::kFile);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillon-unattended: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
