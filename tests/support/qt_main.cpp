#include <gtest/gtest.h>

#include <QApplication>

#include "desktop/theme.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::ApplyTheme(application);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
