#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QWindow>
#include <cmath>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_desk.h"
#include "desktop/desktop_events.h"
#include "desktop/form_window.h"
#include "desktop/serial_port.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

/// The program with its three windows, as it starts in an empty folder.
class WindowTest : public testing::Test {
 protected:
  WindowTest() {
    quillon.Start();
    quillon.info.Show();
    quillon.message.Show();
  }

  static QWidget* Window(const Form& form) {
    for (QWidget* top : QApplication::topLevelWidgets())
      if (top->objectName() == QString::fromStdString(form.Name())) return top;
    return nullptr;
  }

  template <class Widget = QWidget>
  static Widget* Drawn(const Form& form, const Control& control) {
    return Window(form)->findChild<Widget*>(QString::fromStdString(control.Name()));
  }

  static void SendKey(const Form& form, QEvent::Type type, int key, Qt::KeyboardModifiers held = {}) {
    QKeyEvent event(type, key, held);
    QApplication::sendEvent(Window(form)->windowHandle(), &event);
  }

  QTemporaryDir folder;
  DesktopClock clock;
  DesktopEvents events{clock};
  DesktopScreen screen;
  DesktopDesk desk{screen};
  const std::string home = folder.path().toStdString() + "/";
  SerialPort port{home};
  Quillon quillon{Computer{clock, events, desk, screen, port, home}};
};

/// At 96 DPI a pixel is 15 twips.
int InPixels(int twips) { return static_cast<int>(std::lround(twips / 15.0)); }

void ExpectInPlace(const Container& container, const QWidget& parent) {
  for (Control* control : container.Controls()) {
    if (dynamic_cast<Label*>(control) != nullptr) continue;  // labels grow with their text
    const auto* widget =
        parent.findChild<QWidget*>(QString::fromStdString(control->Name()), Qt::FindDirectChildrenOnly);
    ASSERT_NE(widget, nullptr) << control->Name();
    const Place place = control->Where();
    EXPECT_EQ(widget->geometry(),
              QRect(InPixels(place.left), InPixels(place.top), InPixels(place.width), InPixels(place.height)))
        << control->Name();
    if (const auto* frame = dynamic_cast<Frame*>(control)) ExpectInPlace(*frame, *widget);
  }
}

TEST_F(WindowTest, EveryControlStandsInItsPlace) {
  for (Form* form : std::initializer_list<Form*>{&quillon, &quillon.info, &quillon.message}) {
    EXPECT_EQ(Window(*form)->size(), QSize(InPixels(form->Width()), InPixels(form->Height())));
    ExpectInPlace(*form, *Window(*form));
  }
  EXPECT_EQ(Drawn(quillon, quillon.ComLoad)->geometry(), QRect(520, 8, 89, 81));
  EXPECT_EQ(Drawn(quillon.message, quillon.message.Label1)->geometry(), QRect(70, 24, 367, 13));
}

TEST_F(WindowTest, ScreenReadersFindControlsByName) {
  EXPECT_EQ(Drawn(quillon, quillon.FileName)->accessibleName(), "File to download");
  EXPECT_EQ(Drawn(quillon, quillon.Command1)->accessibleName(), "Browse ...");
  EXPECT_EQ(Drawn(quillon, quillon.C(31))->accessibleName(), "Controller 31");
  EXPECT_EQ(Drawn(quillon.info, quillon.info.Ver(5))->accessibleName(), "Version 5");
}

TEST_F(WindowTest, TypingReachesTheProgramAndItsAnswerTheWindow) {
  auto* protocol = Drawn<QLineEdit>(quillon, quillon.Protocol);
  protocol->insert("63");
  EXPECT_EQ(quillon.Protocol.Text(), "63");
  EXPECT_TRUE(Drawn(quillon, quillon.ComInfo)->isEnabled());
  quillon.Protocol.SetText("");
  EXPECT_EQ(protocol->text(), "");
  EXPECT_FALSE(Drawn(quillon, quillon.ComInfo)->isEnabled());

  quillon.Text1.SetText("caf\xE9");
  EXPECT_EQ(quillon.Text1.Text(), "caf\xE9") << "a byte that is no text stays as it is";
}

TEST_F(WindowTest, TextBoxesShowColoursAndBold) {
  TextBox& row = quillon.info.CkSum(3);
  row.SetForeColor(colour::kRed);
  row.SetBackColor(0xC08040);
  row.SetFontBold(true);
  row.SetText("Communication");
  const auto* box = Drawn<QLineEdit>(quillon.info, row);
  EXPECT_EQ(box->palette().color(QPalette::Text), QColor(255, 0, 0));
  EXPECT_EQ(box->palette().color(QPalette::Base), QColor(0x40, 0x80, 0xC0));
  EXPECT_TRUE(box->font().bold() && box->isReadOnly());
  EXPECT_LE(box->fontMetrics().horizontalAdvance(box->text()), box->width() - 6) << "a word is cut off";
}

TEST_F(WindowTest, BoxesListsAndButtonsGoBothWays) {
  auto* box = Drawn<QCheckBox>(quillon, quillon.C(4));
  box->click();
  EXPECT_EQ(quillon.C(4).Value(), CheckBox::kUnticked);
  quillon.C(4).SetValue(CheckBox::kGreyed);
  EXPECT_EQ(box->checkState(), Qt::PartiallyChecked);
  EXPECT_EQ(quillon.C(4).Value(), CheckBox::kGreyed);
  Drawn<QPushButton>(quillon, quillon.NONE)->click();
  EXPECT_FALSE(box->isChecked() || quillon.C(31).Ticked());

  auto* ports = Drawn<QComboBox>(quillon, quillon.ComPort);
  EXPECT_EQ(ports->currentIndex(), -1);
  ports->setCurrentIndex(6);
  EXPECT_EQ(quillon.ComPort.Text(), "COM 7");
  quillon.ComPort.SetText("COM 99");
  EXPECT_EQ(ports->currentText(), "COM 99");

  Drawn<QCheckBox>(quillon, quillon.RUD3)->click();
  EXPECT_TRUE(Drawn(quillon, quillon.Cmd3to4)->isVisible());
}

TEST_F(WindowTest, ClosingIsLeftToTheForm) {
  EXPECT_FALSE(Window(quillon.message)->close());
  EXPECT_TRUE(quillon.AbortRequested);
  EXPECT_FALSE(Window(quillon.message)->isVisible());

  int asked = 0;
  quillon.CloseRequest = [&] { ++asked; };
  EXPECT_FALSE(Window(quillon)->close());
  EXPECT_EQ(asked, 1);
  EXPECT_TRUE(Window(quillon)->isVisible()) << "the form did not go, so its window stays";
}

TEST_F(WindowTest, EscapeCancelsInMessageAndTheFormSeesKeyReleasesAheadOfItsControls) {
  std::vector<std::pair<Form::Key, bool>> released;
  quillon.KeyUp = [&](Form::Key key, bool shiftHeld) { released.emplace_back(key, shiftHeld); };
  Drawn(quillon, quillon.Text1)->setFocus();
  SendKey(quillon, QEvent::KeyRelease, Qt::Key_F12, Qt::ShiftModifier | Qt::ControlModifier);
  SendKey(quillon, QEvent::KeyRelease, Qt::Key_7);
  EXPECT_EQ(released, (decltype(released){{Form::Key::kF12, true}, {Form::Key::kOther, false}}));

  SendKey(quillon, QEvent::KeyPress, Qt::Key_Escape);
  EXPECT_TRUE(Window(quillon)->isVisible());
  EXPECT_FALSE(quillon.AbortRequested);
  SendKey(quillon.message, QEvent::KeyPress, Qt::Key_Escape);
  EXPECT_TRUE(quillon.AbortRequested);
}

}  // namespace
}  // namespace quillon
