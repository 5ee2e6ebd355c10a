#include <QApplication>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "desktop/end_signals.h"
#include "desktop/held_keys.h"
#include "desktop/house_look.h"
#include "desktop/program.h"
#include "desktop/screen_reader.h"
#include "platform/system_files.h"

namespace {

/// Hears Qt while the application comes into being. Its one way to fail is that it reaches no display, or
/// lacks its part for that kind of display; it would then print a page and abort.
void HearStart(QtMsgType kind, const QMessageLogContext&, const QString&) {
  if (kind != QtFatalMsg) return;
  std::fputs(
      "quillon: the display can't be reached. Start it from a desktop session; on Debian, with the package "
      "qt6-qpa-plugins installed.\n",
      stderr);
  std::_Exit(EXIT_FAILURE);
}

/// Ends the program as closing the main window does. A box or dialog that is open closes first: it would
/// otherwise wait for an answer.
void End(quillon::Program& program) {
  for (QWidget* dialog; (dialog = QApplication::activeModalWidget()) != nullptr;) {
    if (!dialog->close()) break;
  }
  program.Close();
}

int Run(int argc, char** argv) {
  quillon::system_files::OpenMissingStreams();
  int taken = argc > 0 ? 1 : 0;  // the tool takes no arguments; Qt would take some
  qInstallMessageHandler(HearStart);
  QApplication application(taken, argv);
  qInstallMessageHandler(nullptr);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::HeldKeys heldKeys;
  application.installEventFilter(&heldKeys);
  quillon::GiveHouseLook(application);
  quillon::screen_reader::Install();
  quillon::Program program(quillon::system_files::ProgramFolder());
  const quillon::EndSignals endSignals([&] { End(program); });
  QObject::connect(&application, &QGuiApplication::commitDataRequest, [&] { End(program); });
  program.Start();
  program.ServeUntilEnd();
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillon: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
