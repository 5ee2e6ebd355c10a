#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <string>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "desktop/form_window.h"
#include "desktop/qt_dialogs.h"
#include "desktop/serial_port.h"
#include "forms/quillon.h"
#include "shell/start_stop.h"

namespace quillon {

/// The program with its three windows, as it starts in an empty folder.
class WindowTest : public testing::Test {
 protected:
  WindowTest() {
    Start(quillon);
    quillon.info.Show();
    quillon.message.Show();
  }

  static QWidget* Window(const Form& form) {
    for (QWidget* top : QApplication::topLevelWidgets())
      if (top->objectName() == QString::fromStdString(form.Name())) return top;
    return nullptr;
  }

  /// Gives a window the keyboard, which shortcuts and Tab need.
  static void Activate(const Form& form) {
    Window(form)->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(Window(form)));
  }

  template <class Widget = QWidget>
  static Widget* Drawn(const Form& form, const Control& control) {
    return Window(form)->findChild<Widget*>(QString::fromStdString(control.Name()));
  }

  QTemporaryDir folder;
  DesktopClock clock;
  DesktopEvents events{clock};
  DesktopScreen screen;
  const std::string home = folder.path().toStdString() + "/";
  QtDialogs dialogs{screen, home};
  SerialPort port{home};
  Quillon quillon{Computer{clock, events, dialogs, screen, port, home}};
};

}  // namespace quillon
