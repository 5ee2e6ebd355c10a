// Runs the real windows over a real serial line with nobody there: presses the buttons, fills the dialogs and
// answers the boxes as an operator would, and says on standard output what such an operator saw.
#include <QApplication>
#include <QOperatingSystemVersion>
#include <QTimer>
#include <cstdio>

#include "desktop/house_look.h"
#include "desktop/program.h"
#include "platform/system_files.h"
#include "unattended/operator.h"
#include "unattended/task.h"

namespace {

/// The task is read before there is an application with windows, so that a word which makes no sense opens
/// nothing, needs no display, and is the only thing said.
quillon::Task TaskOf(int argc, char** argv) {
  const QCoreApplication withoutWindows(argc, argv);
  return quillon::ReadCommandLine(QCoreApplication::arguments());
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kNotWell = 1;
  constexpr int kBadUsage = 2;
  try {
    const quillon::Task task = TaskOf(argc, argv);
    const bool mayLackDisplay = QOperatingSystemVersion::currentType() != QOperatingSystemVersion::Windows;
    if (mayLackDisplay && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
      qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    quillon::GiveHouseLook(application);
    quillon::Operator operatorAtWork(task);
    quillon::Program program(quillon::system_files::ProgramFolder());
    program.Start();
    QTimer::singleShot(0, &application, [&] { operatorAtWork.Work(); });
    program.ServeUntilEnd();
    return operatorAtWork.WentWell() ? 0 : kNotWell;
  } catch (const quillon::UsageError& error) {
    std::fprintf(stderr, "quillon-unattended: %s\n", error.what());
    return kBadUsage;
  }
}
