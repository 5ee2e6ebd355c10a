// Handles the events of Qt's windows while a run waits. YieldUntil sleeps until an event arrives or a timer
// fires, and then handles all pending events once.
#include "desktop/desktop_events.h"

#include <QCoreApplication>
#include <QTimer>
#include <cmath>

namespace quillon {

void DesktopEvents::Yield() { QCoreApplication::processEvents(); }

// Received bytes end the sleep: Qt watches the device of the open serial port (line_watch.h).
void DesktopEvents::YieldUntil(double time) {
  constexpr double kMillisecond = 0.001;  // seconds; the resolution of QTimer
  const double wait = time - clock_.Now();
  if (wait < kMillisecond) return Yield();
  QTimer timeIsUp;
  timeIsUp.setTimerType(Qt::PreciseTimer);
  timeIsUp.setSingleShot(true);
  timeIsUp.start(static_cast<int>(std::floor(wait / kMillisecond)));
  QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

void DesktopEvents::End() {
  ended_ = true;
  QCoreApplication::exit(0);
}

void DesktopEvents::ServeUntilEnd() {
  if (!ended_) QCoreApplication::exec();
}

}  // namespace quillon
