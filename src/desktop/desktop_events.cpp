#include "desktop/desktop_events.h"

#include <QCoreApplication>

namespace quillon {

void DesktopEvents::Yield() { QCoreApplication::processEvents(); }

void DesktopEvents::End() {
  ended_ = true;
  QCoreApplication::exit(0);
}

void DesktopEvents::ServeUntilEnd() {
  if (!ended_) QCoreApplication::exec();
}

}  // namespace quillon
