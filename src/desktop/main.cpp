#include <QApplication>

#include "desktop/house_look.h"
#include "desktop/program.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::GiveHouseLook(application);
  quillon::Program program(quillon::ProgramFolder());
  program.Start();
  program.ServeUntilEnd();
}
