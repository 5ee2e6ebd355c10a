// Opens the manual. A manual beside the program is preferred to the installed one, and in each folder
// manual.pdf to manual.md.
#include "desktop/manual.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QUrl>

namespace quillon {

void OpenManual() {
  for (const QString& folder : {QApplication::applicationDirPath() + "/manual", QString(QUILLON_MANUAL)}) {
    for (const char* name : {"/manual.pdf", "/manual.md"}) {
      const QString path = folder + name;
      if (QFile::exists(path) && QDesktopServices::openUrl(QUrl::fromLocalFile(path))) return;
    }
  }
  QApplication::beep();
}

}  // namespace quillon
