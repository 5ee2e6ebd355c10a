#include <QApplication>
#include <cstdio>
#include <cstdlib>

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

}  // namespace

int main(int argc, char** argv) {
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
  program.Start();
  program.ServeUntilEnd();
  return EXIT_SUCCESS;
}
