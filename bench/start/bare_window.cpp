// What the start of Quillon is measured against: a window with as many widgets of the same kinds in the same
// places, made directly with Qt, that holds no program.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

namespace {

constexpr int kPorts = 99;
constexpr int kBoxes = 32;

template <class Widget>
Widget* Put(Widget* widget, int left, int top, int width, int height) {
  widget->setGeometry(left, top, width, height);
  return widget;
}

void AddUpperPart(QWidget* window) {
  Put(new QLabel("File to download :", window), 24, 32, 83, 13);
  Put(new QLineEdit(window), 24, 51, 201, 20);
  Put(new QPushButton("&Browse ...", window), 232, 51, 97, 20);
  Put(new QLabel("File Cheksum", window), 24, 80, 63, 13);
  Put(new QLineEdit(window), 24, 96, 89, 20)->setEnabled(false);
  Put(new QCheckBox("Keep the existing baud rate for firmware download (ORVA only)", window), 136, 100, 353,
      13);
  for (int i = 0; i < 2; ++i) Put(new QPushButton("3 -> 4", window), 384, 8 + 24 * i, 57, 17)->hide();
  Put(new QPushButton("&Download (Parallel)", window), 520, 8, 89, 81)->setEnabled(false);
  for (int i = 0; i < 4; ++i) Put(new QPushButton("&Flash Info", window), 536, 96 + 64 * i, 73, 57);
  for (int i = 0; i < 4; ++i) Put(new QCheckBox("V4800", window), 419, 56 + 12 * i, 57, 13)->hide();
}

void AddSettings(QWidget* frame) {
  for (int i = 0; i < 5; ++i) Put(new QLabel("Time Out:", frame), 20 + 80 * i, 16, 73, 13);
  for (int i = 0; i < 2; ++i) Put(new QLabel("Com Port:", frame), 216 + 88 * i, 16, 81, 13);
  for (int i = 0; i < 3; ++i) Put(new QLineEdit(frame), 20 + 85 * i, 33, 41, 19);
  QStringList ports;
  for (int i = 1; i <= kPorts; ++i) ports.push_back("COM " + QString::number(i));
  Put(new QComboBox(frame), 216, 32, 81, 21)->addItems(ports);
  Put(new QComboBox(frame), 304, 32, 89, 21)->addItems({"4800", "9600", "19200", "38400"});
  Put(new QCheckBox("Prot 3", frame), 456, 24, 57, 17);
  for (int i = 0; i < 3; ++i) Put(new QPushButton("All", frame), 16, 72 + 32 * i, 41, 25);
}

void AddBoxes(QWidget* frame) {
  for (int i = 0; i < kBoxes; ++i) {
    const int left = 88 + 26 * (i % 16);
    const int top = i < 16 ? 80 : 128;
    Put(new QCheckBox(frame), left, top, 13, 13)->setChecked(true);
    Put(new QLabel(QString::number(i), frame), left - 6, top + 16, 25, 13);
  }
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setStyle("fusion");
  QWidget window;
  window.setFixedSize(613, 360);
  AddUpperPart(&window);
  auto* frame = Put(new QGroupBox("  Controllers Selection  ", &window), 8, 152, 521, 177);
  AddSettings(frame);
  AddBoxes(frame);
  Put(new QCheckBox("All Controllers same protocol", &window), 176, 335, 177, 17)->hide();
  Put(new QCheckBox("Save configuration on exit", &window), 367, 335, 161, 17);
  window.show();
  return QApplication::exec();
}
