#include <gtest/gtest.h>

#include <QApplication>

#include "desktop/house_look.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  quillon::GiveHouseLook(application);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
