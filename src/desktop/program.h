#pragma once

#include <string>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "desktop/form_window.h"
#include "desktop/qt_dialogs.h"
#include "desktop/serial_port.h"
#include "results/row_tool_tips.h"
#include "shell/start_stop.h"

namespace quillon {

/// The whole program with Qt windows, a real clock and a real serial port.
class Program {
 public:
  explicit Program(const std::string& folder)
      : dialogs_(screen_, folder),
        serialPort_(folder),
        quillon_(Computer{clock_, events_, dialogs_, screen_, serialPort_, folder}) {
    AddObserver(toolTips_);
  }

  void Start() { quillon::Start(quillon_); }
  /// Acts like closing the main window: aborts a run that is under way, saves settings and log.
  void Close() { quillon_.Close(); }
  /// Adds a receiver of run events, which must outlive the program.
  void AddObserver(RunObserver& observer) { quillon_.observers.push_back(&observer); }
  void ServeUntilEnd() { events_.ServeUntilEnd(); }

 private:
  DesktopClock clock_;
  DesktopEvents events_{clock_};
  DesktopScreen screen_;
  QtDialogs dialogs_;
  SerialPort serialPort_;
  Quillon quillon_;
  RowToolTips toolTips_{quillon_.info};
};

}  // namespace quillon
