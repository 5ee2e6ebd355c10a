#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_desk.h"
#include "desktop/desktop_events.h"
#include "desktop/form_window.h"
#include "desktop/house_look.h"
#include "desktop/picture_widgets.h"
#include "desktop/serial_port.h"
#include "scratch_folder.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

/// The program with its windows, as it starts in an empty folder.
class WindowTest : public testing::Test {
 protected:
  WindowTest() { quillon.Start(); }

  static QWidget* Window(const Form& form) {
    for (QWidget* top : QApplication::topLevelWidgets()) {
      if (top->objectName() == QString::fromStdString(form.Name())) return top;
    }
    return nullptr;
  }

  template <class Widget = QWidget>
  static Widget* Drawn(const Form& form, const Control& control) {
    return Window(form)->findChild<Widget*>(QString::fromStdString(control.Name()));
  }

  template <class Widget = QWidget>
  Widget* Drawn(const Control& control) const {
    return Drawn<Widget>(quillon, control);
  }

  static void SendKey(const Form& form, QEvent::Type type, int key,
                      Qt::KeyboardModifiers held = Qt::NoModifier, bool repeated = false) {
    QKeyEvent event(type, key, held, "", repeated);
    QApplication::sendEvent(Window(form)->windowHandle(), &event);
  }

  ScratchFolder folder;
  DesktopClock clock;
  DesktopEvents events;
  DesktopScreen screen;
  DesktopDesk desk{screen};
  SerialPort port{folder.Path()};
  Quillon quillon{Computer{clock, events, desk, screen, port, folder.Path()}};
};

/// At 96 DPI a pixel is 15 twips.
int InPixels(int twips) { return static_cast<int>(std::lround(twips / 15.0)); }

void ExpectInPlace(const Container& container, const QWidget& parent) {
  for (Control* control : container.Controls()) {
    const auto* widget =
        parent.findChild<QWidget*>(QString::fromStdString(control->Name()), Qt::FindDirectChildrenOnly);
    if (dynamic_cast<Label*>(control) != nullptr)
      continue;  // labels grow with their text, and many share a name
    ASSERT_NE(widget, nullptr) << control->Name();
    const Place place = control->Where();
    EXPECT_EQ(widget->geometry(),
              QRect(InPixels(place.left), InPixels(place.top), InPixels(place.width), InPixels(place.height)))
        << control->Name();
    if (const auto* frame = dynamic_cast<Frame*>(control)) ExpectInPlace(*frame, *widget);
  }
}

TEST_F(WindowTest, EveryControlStandsInItsPlace) {
  ASSERT_EQ(QGuiApplication::primaryScreen()->logicalDotsPerInch(), 96);
  quillon.info.Show();
  quillon.message.Show();
  for (Form* form : {static_cast<Form*>(&quillon), static_cast<Form*>(&quillon.info),
                     static_cast<Form*>(&quillon.message)}) {
    EXPECT_EQ(Window(*form)->size(), QSize(InPixels(form->Width()), InPixels(form->Height())))
        << form->Name();
    ExpectInPlace(*form, *Window(*form));
  }
  EXPECT_EQ(Drawn(quillon.ComLoad)->geometry(), QRect(520, 8, 89, 81));
  EXPECT_EQ(Drawn(quillon.Text1)->parentWidget(), Drawn(quillon.Frame1));
  EXPECT_EQ(Drawn<QLabel>(quillon.message, quillon.message.Label1)->geometry(), QRect(70, 24, 367, 13));
}

TEST_F(WindowTest, WindowsAreWhatTheirFramesSay) {
  quillon.info.Show();
  quillon.message.Show();
  QWidget* message = Window(quillon.message);
  EXPECT_EQ(Window(quillon)->minimumSize(), Window(quillon)->maximumSize());
  EXPECT_EQ(Window(quillon)->windowFlags() & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint),
            0);
  EXPECT_GT(Window(quillon.info)->maximumHeight(), 2000);
  EXPECT_EQ(message->windowFlags() & (Qt::WindowTitleHint | Qt::WindowCloseButtonHint), 0);
  EXPECT_EQ(message->parentWidget(), Window(quillon));
  const QPoint fromCentre = message->geometry().center() - Window(quillon)->geometry().center();
  EXPECT_LE(fromCentre.manhattanLength(), 10) << "more than the frames of windows explain";
  EXPECT_EQ(Window(quillon)->windowTitle().left(17), " Quillon version ");
}

TEST_F(WindowTest, ScreenReadersFindControlsByName) {
  quillon.info.Show();
  const struct {
    const Form& form;
    const Control& control;
    const char* name;
  } cases[] = {
      {quillon, quillon.FileName, "File to download"},
      {quillon, quillon.Command1, "Browse ..."},
      {quillon, quillon.ComLoad, "Download (Parallel)"},
      {quillon, quillon.Vitesse, "Speed"},
      {quillon, quillon.C(31), "Controller 31"},
      {quillon, quillon.Check1, "Save configuration on exit"},
      {quillon.info, quillon.info.Ver(5), "Version 5"},
      {quillon.info, quillon.info.ComClose, "Close"},
  };
  for (const auto& row : cases) EXPECT_EQ(Drawn(row.form, row.control)->accessibleName(), QString(row.name));
}

TEST_F(WindowTest, TypingReachesTheProgramAndItsAnswerTheWindow) {
  auto* protocol = Drawn<QLineEdit>(quillon.Protocol);
  protocol->insert("63");
  EXPECT_EQ(quillon.Protocol.Text(), "63");
  EXPECT_TRUE(Drawn(quillon.ComInfo)->isEnabled());
  EXPECT_FALSE(Drawn(quillon.ComLoad)->isEnabled());

  protocol->setCursorPosition(1);
  quillon.Protocol.SetText("63");
  EXPECT_EQ(protocol->cursorPosition(), 1);
  quillon.Protocol.SetText("");
  EXPECT_EQ(protocol->text(), "");
  EXPECT_FALSE(Drawn(quillon.ComInfo)->isEnabled());
}

TEST_F(WindowTest, BytesThatAreNoTextStayAsTheyAre) {
  quillon.Text1.SetText("caf\xE9");
  QApplication::processEvents();
  EXPECT_EQ(quillon.Text1.Text(), "caf\xE9");
}

TEST_F(WindowTest, TextBoxesShowColoursBoldAndToolTip) {
  quillon.info.Show();
  TextBox& row = quillon.info.CkSum(3);
  row.SetForeColor(colour::kRed);
  row.SetBackColor(0xC08040);
  row.SetFontBold(true);
  row.SetText("Communication");
  row.SetToolTip("<b>plain</b>");
  const auto* box = Drawn<QLineEdit>(quillon.info, row);
  EXPECT_EQ(box->palette().color(QPalette::Text), QColor(255, 0, 0));
  EXPECT_EQ(box->palette().color(QPalette::Base), QColor(0x40, 0x80, 0xC0));
  EXPECT_TRUE(box->font().bold());
  EXPECT_TRUE(box->isReadOnly());
  EXPECT_LE(QFontMetrics(box->font()).horizontalAdvance(box->text()), box->width() - 6)
      << "a word is cut off";
}

TEST_F(WindowTest, CheckBoxesGoBothWays) {
  auto* box = Drawn<QCheckBox>(quillon.C(4));
  ASSERT_TRUE(box->isChecked());
  box->click();
  EXPECT_EQ(quillon.C(4).Value(), CheckBox::kUnticked);
  box->click();
  EXPECT_EQ(quillon.C(4).Value(), CheckBox::kTicked);

  quillon.C(4).SetValue(CheckBox::kGreyed);
  EXPECT_EQ(box->checkState(), Qt::PartiallyChecked);
  EXPECT_EQ(quillon.C(4).Value(), CheckBox::kGreyed);
  box->click();
  EXPECT_EQ(quillon.C(4).Value(), CheckBox::kUnticked);

  Drawn<QCheckBox>(quillon.RUD3)->click();
  EXPECT_TRUE(Drawn(quillon.Cmd3to4)->isVisible());
}

TEST_F(WindowTest, ListsGoBothWays) {
  auto* port_list = Drawn<QComboBox>(quillon.ComPort);
  EXPECT_EQ(port_list->count(), 99);
  EXPECT_EQ(port_list->currentIndex(), -1);
  port_list->setCurrentIndex(6);
  EXPECT_EQ(quillon.ComPort.Text(), "COM 7");
  quillon.ComPort.SetText("COM 99");
  EXPECT_EQ(port_list->currentText(), "COM 99");
}

TEST_F(WindowTest, ButtonsPress) {
  Drawn<QPushButton>(quillon.NONE)->click();
  EXPECT_FALSE(Drawn<QCheckBox>(quillon.C(0))->isChecked());
  EXPECT_FALSE(quillon.C(31).Ticked());
}

TEST_F(WindowTest, ClosingIsLeftToTheForm) {
  quillon.message.Show();
  EXPECT_FALSE(Window(quillon.message)->close());
  EXPECT_TRUE(quillon.AbortRequested);
  EXPECT_FALSE(Window(quillon.message)->isVisible());

  int asked = 0;
  quillon.CloseRequest = [&] { ++asked; };
  EXPECT_FALSE(Window(quillon)->close());
  EXPECT_EQ(asked, 1);
  EXPECT_TRUE(Window(quillon)->isVisible()) << "the form did not go, so its window stays";
}

TEST_F(WindowTest, EscapeCancelsInMessageAndDoesNothingElsewhere) {
  quillon.message.Show();
  QApplication::processEvents();
  SendKey(quillon, QEvent::KeyPress, Qt::Key_Escape);
  EXPECT_TRUE(Window(quillon)->isVisible());
  EXPECT_FALSE(quillon.AbortRequested);
  Window(quillon.message)->activateWindow();
  SendKey(quillon.message, QEvent::KeyPress, Qt::Key_Escape);
  EXPECT_TRUE(quillon.AbortRequested);
}

TEST_F(WindowTest, FormSeesEachKeyReleaseOnceAheadOfItsControls) {
  std::vector<std::pair<Form::Key, bool>> released;
  quillon.KeyUp = [&](Form::Key key, bool shiftHeld) { released.emplace_back(key, shiftHeld); };
  Drawn(quillon.Text1)->setFocus();
  SendKey(quillon, QEvent::KeyPress, Qt::Key_F12, Qt::ShiftModifier);
  SendKey(quillon, QEvent::KeyRelease, Qt::Key_F12, Qt::ShiftModifier, true);
  SendKey(quillon, QEvent::KeyRelease, Qt::Key_F12, Qt::ShiftModifier | Qt::ControlModifier);
  SendKey(quillon, QEvent::KeyRelease, Qt::Key_F12);
  SendKey(quillon, QEvent::KeyRelease, Qt::Key_7, Qt::ShiftModifier);
  using testing::Pair;
  EXPECT_THAT(released, testing::ElementsAre(Pair(Form::Key::kF12, true), Pair(Form::Key::kF12, false),
                                             Pair(Form::Key::kOther, true)));
}

TEST_F(WindowTest, StatusLineGrowsInsideItsWindow) {
  Label& line = quillon.message.Label1;
  quillon.message.Show();
  auto* label = Drawn<QLabel>(quillon.message, line);
  line.SetText(
      "Controller 31 : Communication Failure   (Speed : 38400 Bds, and more words than one line takes) ");
  const int left = label->x();
  EXPECT_TRUE(label->wordWrap());
  EXPECT_GT(label->height(), 13);
  EXPECT_LE(left + label->contentsRect().right(), Window(quillon.message)->width());
  EXPECT_LE(label->geometry().bottom(), Drawn(quillon.message, quillon.message.Command1)->y());
  line.SetText("short");
  EXPECT_EQ(label->geometry(), QRect(70, 24, 367, 13));
}

/// Counts how often a widget is painted.
class PaintCount final : public QObject {
 public:
  explicit PaintCount(QWidget* widget) { widget->installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++count;
    return false;
  }
  int count = 0;
};

TEST_F(WindowTest, StatusLineRepaintsItselfAndNotItsWindow) {
  quillon.message.Show();
  for (int i = 0; i < 5; ++i) QApplication::processEvents();
  const PaintCount window(Window(quillon.message));
  const PaintCount label(Drawn(quillon.message, quillon.message.Label1));
  for (int batch = 1; batch <= 3; ++batch) {
    quillon.message.Label1.SetText("Programming Batch " + std::to_string(batch));
    quillon.message.Show();
    QApplication::processEvents();
  }
  EXPECT_EQ(label.count, 3);
  EXPECT_EQ(window.count, 0);
}

TEST_F(WindowTest, UnloadedFormComesBackInItsFirstState) {
  quillon.info.Show();
  quillon.info.SetCaption("Boot Info");
  quillon.info.Label41.SetVisible(false);
  quillon.info.Ver(0).SetText("01/02/03");
  quillon.info.Unload();
  EXPECT_FALSE(Window(quillon.info)->isVisible());
  quillon.info.Show();
  EXPECT_EQ(Window(quillon.info)->windowTitle(), "Flash Info");
  EXPECT_TRUE(Drawn(quillon.info, quillon.info.Label41)->isVisible());
  EXPECT_EQ(Drawn<QLineEdit>(quillon.info, quillon.info.Ver(0))->text(), "");
}

TEST_F(WindowTest, BoxShowsCarriageReturnsAsLinesAndErrorsAsWarnings) {
  for (const auto& [title, icon] :
       {std::pair{"Quillon Error", QMessageBox::Warning}, std::pair{"Quillon", QMessageBox::Information}}) {
    QString text, shownTitle;
    QMessageBox::Icon shownIcon = QMessageBox::NoIcon;
    QTimer::singleShot(0, [&] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(box, nullptr);
      text = box->text();
      shownTitle = box->windowTitle();
      shownIcon = box->icon();
      box->button(QMessageBox::Ok)->click();
    });
    desk.ShowBox("Error #  13\r<b>Type</b> mismatch\r\nOn COM 7", title);
    EXPECT_EQ(text, "Error #  13\n<b>Type</b> mismatch\nOn COM 7");
    EXPECT_EQ(shownTitle, QString(title));
    EXPECT_EQ(shownIcon, icon);
  }
}

TEST_F(WindowTest, EveryPictureIsThere) {
  for (const char* name :
       {"quillon", "inquiet", "stop", "jumelle", "download", "flash-info", "boot-info", "exit", "close"}) {
    EXPECT_FALSE(DrawnPicture(name, QSize(32, 32), 1.0).isNull()) << name;
  }
}

}  // namespace
}  // namespace quillon
