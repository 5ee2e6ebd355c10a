// What passes between a window and the program: typing, clicks, keys, boxes, status lines.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "desktop/key_repeat_filter.h"
#include "link/outcome.h"
#include "window_fixture.h"

namespace quillon {
namespace {

TEST_F(WindowTest, TypingReachesTheProgramAndItsAnswerTheWindow) {
  auto* protocol = Drawn<QLineEdit>(quillon, quillon.Protocol);
  protocol->insert("63");
  EXPECT_EQ(quillon.Protocol.Text(), "63");
  EXPECT_TRUE(Drawn(quillon, quillon.ComInfo)->isEnabled());
  quillon.Protocol.SetText("");
  EXPECT_EQ(protocol->text(), "");
  EXPECT_FALSE(Drawn(quillon, quillon.ComInfo)->isEnabled());
  protocol->insert("62\r\n1");  // as pasted
  EXPECT_EQ(quillon.Protocol.Text(), "62");
  EXPECT_EQ(protocol->text(), "62");

  quillon.Text1.SetText("caf\xE9");
  EXPECT_EQ(quillon.Text1.Text(), "caf\xE9") << "a byte that is no text stays as it is";
}

TEST_F(WindowTest, TextBoxesShowColoursAndBold) {
  const auto* sum = Drawn<QLineEdit>(quillon.info, quillon.info.FileCheksum);
  EXPECT_EQ(sum->palette().color(QPalette::Base), QColor(0xC0, 0xC0, 0xC0));
  EXPECT_TRUE(sum->font().bold() && Drawn(quillon.info, quillon.info.Titre)->font().bold());
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
  QTest::keyClicks(ports, "33");
  QTest::keyClicks(ports, "COM");
  EXPECT_EQ(quillon.ComPort.Text(), "COM 33") << "letters select nothing";
  quillon.ComPort.SetText("COM 99");
  EXPECT_EQ(ports->currentText(), "COM 99");
  const QPointF middle = ports->rect().center();
  QWheelEvent wheel(middle, ports->mapToGlobal(middle), {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
  QApplication::sendEvent(ports, &wheel);
  EXPECT_EQ(quillon.ComPort.Text(), "COM 99") << "the wheel selects nothing";

  Drawn<QCheckBox>(quillon, quillon.RUD3)->click();
  EXPECT_TRUE(Drawn(quillon, quillon.Cmd3to4)->isVisible());
}

TEST_F(WindowTest, ClosingIsLeftToTheForm) {
  EXPECT_FALSE(Window(quillon.message)->close());
  EXPECT_TRUE(quillon.AbortRequested);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !Window(quillon.message)->isVisible(); }, 1000));

  int asked = 0;
  quillon.CloseRequest = [&] { ++asked; };
  EXPECT_FALSE(Window(quillon)->close());
  EXPECT_EQ(asked, 1);
  EXPECT_TRUE(Window(quillon)->isVisible()) << "the form did not go, so its window stays";
}

TEST_F(WindowTest, APressOnCancelSurvivesTheEndOfACommand) {
  auto* cancel = Drawn<QAbstractButton>(quillon.message, quillon.message.Command1);
  QTest::mousePress(cancel, Qt::LeftButton);
  quillon.message.Unload();
  quillon.message.Show();
  QTest::qWait(40);
  EXPECT_TRUE(cancel->isVisible());
  QTest::mouseRelease(cancel, Qt::LeftButton);
  EXPECT_TRUE(quillon.AbortRequested);
}

TEST_F(WindowTest, TheOpenListShowsWhichPortsHaveADevice) {
  auto* ports = Drawn<QComboBox>(quillon, quillon.ComPort);
  const auto isFaint = [&](int number) { return ports->itemData(number - 1, Qt::ForegroundRole).isValid(); };
  std::filesystem::create_symlink("/dev/null", home + "COM97");
  for (const bool inserted : {true, false}) {
    ports->showPopup();
    EXPECT_EQ(isFaint(97), !inserted);
    EXPECT_TRUE(
        ports->itemData(96, Qt::ToolTipRole).toString().contains(inserted ? "/dev/null" : "No device"));
    EXPECT_TRUE(isFaint(98));
    ports->hidePopup();
    std::filesystem::remove(home + "COM97");
  }
}

void SendKey(QWidget* window, QEvent::Type type, int key, Qt::KeyboardModifiers held = {}) {
  QKeyEvent event(type, key, held);
  QApplication::sendEvent(window->windowHandle(), &event);
}

TEST_F(WindowTest, EscapeInAnyWindowIsCancelAndTheFormSeesKeyReleasesFirst) {
  std::vector<std::pair<Form::Key, bool>> released;
  quillon.KeyUp = [&](Form::Key key, bool shiftHeld) { released.emplace_back(key, shiftHeld); };
  Drawn(quillon, quillon.Text1)->setFocus();
  SendKey(Window(quillon), QEvent::KeyRelease, Qt::Key_F12, Qt::ShiftModifier | Qt::ControlModifier);
  SendKey(Window(quillon), QEvent::KeyRelease, Qt::Key_7);
  EXPECT_EQ(released, (decltype(released){{Form::Key::kF12, true}, {Form::Key::kOther, false}}));

  for (QWidget* window : {Window(quillon.message), Window(quillon), Window(quillon.info)}) {
    quillon.AbortRequested = false;
    quillon.message.Show();
    SendKey(window, QEvent::KeyPress, Qt::Key_Escape);
    EXPECT_TRUE(quillon.AbortRequested) << window->objectName().toStdString();
    EXPECT_TRUE(quillon.Visible() && quillon.info.Visible() && !quillon.message.Visible());
  }
}

TEST_F(WindowTest, AHeldKeyPressesAButtonOnce) {
  // The events of one key and their times: p a press, r a release, in capitals where Qt marks it as repeated.
  // clang-format off
  const struct {
    const char* name;
    int key;
    std::vector<std::pair<char, quint64>> events;
    int presses;
  } kStories[] = {
      {"marked as repeats", Qt::Key_Return, {{'p', 10}, {'R', 60}, {'P', 60}, {'R', 90}, {'P', 90}, {'r', 99}}, 1},
      {"not marked", Qt::Key_Space, {{'p', 10}, {'r', 60}, {'p', 60}, {'r', 90}, {'p', 90}, {'r', 99}}, 1},
      {"held since another window", Qt::Key_Enter, {{'r', 60}, {'p', 60}, {'R', 90}, {'P', 90}, {'r', 99}}, 0},
      {"pressed twice", Qt::Key_Return, {{'p', 10}, {'r', 20}, {'p', 30}, {'r', 40}}, 2},
  };
  // clang-format on
  for (const auto& story : kStories) {
    KeyRepeatFilter heldKeys;
    qApp->installEventFilter(&heldKeys);
    int presses = 0;
    quillon.NONE.Click = [&] { ++presses; };
    Drawn(quillon, quillon.NONE)->setFocus();
    for (const auto& [kind, time] : story.events) {
      const bool press = kind == 'p' || kind == 'P';
      QKeyEvent event(press ? QEvent::KeyPress : QEvent::KeyRelease, story.key, {}, "", kind < 'a');
      event.setTimestamp(time);
      QApplication::sendEvent(Window(quillon)->windowHandle(), &event);
    }
    EXPECT_EQ(presses, story.presses) << story.name;
  }
}

/// Answers the next box by `answer`, after a look at it.
void AnswerNextBox(QMessageBox::StandardButton answer, std::function<void(QMessageBox&)> look = {}) {
  QTimer::singleShot(0, [=] {
    QMessageBox* box = nullptr;  // not the active modal widget: see ShownInactive in qt_dialogs.cpp
    for (QWidget* top : QApplication::topLevelWidgets())
      if (top->isVisible() && box == nullptr) box = qobject_cast<QMessageBox*>(top);
    ASSERT_NE(box, nullptr);
    if (look) look(*box);
    if (box->isVisible()) box->button(answer)->click();
  });
}

TEST_F(WindowTest, AKeyMeantForABoxStartsNoRun) {
  int runs = 0;
  quillon.Protocol.SetText("63");
  quillon.ComInfo.Click = [&] { ++runs; };
  auto* button = Drawn<QPushButton>(quillon, quillon.ComInfo);
  AnswerNextBox(QMessageBox::Ok);
  dialogs.ShowBox("Error #  8020\rgone", "Quillon Error", BoxKind::kRunError);
  Activate(quillon);
  button->setFocus();
  const auto pressKeys = [&] {
    for (const int key : {Qt::Key_Return, Qt::Key_Space}) QTest::keyClick(button, static_cast<Qt::Key>(key));
    QTest::keyClick(Window(quillon), Qt::Key_F, Qt::AltModifier);
  };
  pressKeys();
  EXPECT_EQ(runs, 0);
  button->click();
  QTest::qWait(1050);  // also the 100 ms after which a shortcut clicks
  EXPECT_EQ(runs, 1) << "a click is meant for the button";
  pressKeys();
  EXPECT_TRUE(QTest::qWaitFor([&] { return runs == 4; })) << runs;
}

TEST_F(WindowTest, TheTableIsInFrontAfterARunWithTheKeyboardOnItsFirstRow) {
  quillon.Protocol.SetText("63");
  for (const auto button : {&Quillon::ComInfo, &Quillon::ComBoot}) {
    AnswerNextBox(QMessageBox::Ok, [&](QMessageBox&) { Window(quillon)->activateWindow(); });  // no port
    (quillon.*button).Press();
    EXPECT_TRUE(QTest::qWaitForWindowActive(Window(quillon.info)));
    EXPECT_EQ(QApplication::focusWidget(), Drawn(quillon.info, quillon.info.Ver(0)));
    Drawn(quillon.info, quillon.info.ComClose)->setFocus();
  }
}

TEST_F(WindowTest, TheTableOpensEachTimeInItsPlaceAndScrollsWhereItDoesNotFit) {
  QWidget* info = Window(quillon.info);
  const QRect place = info->geometry();
  info->showMaximized();
  QTest::qWait(20);
  quillon.info.Unload();
  quillon.info.Show();
  EXPECT_FALSE(info->isMaximized());
  EXPECT_EQ(info->geometry(), place);
  info->resize(300, 200);
  EXPECT_EQ(info->size(), QSize(300, 200)) << "a small screen has no room for more";
}

TEST_F(WindowTest, ABoxAfterCancelBelongsToTheMainWindow) {
  Activate(quillon.message);
  Drawn<QPushButton>(quillon.message, quillon.message.Command1)->click();
  AnswerNextBox(QMessageBox::No, [&](QMessageBox& box) {
    EXPECT_EQ(box.parentWidget(), Window(quillon)) << "the progress window hides, and its boxes with it";
    EXPECT_EQ(box.defaultButton(), box.button(QMessageBox::No));
  });
  EXPECT_FALSE(dialogs.Ask("a.hex is damaged: line 1: is empty. Use it anyway?", "Quillon"));
}

TEST_F(WindowTest, ADisabledButtonKeepsTheKeyboardForItself) {
  quillon.Auto.SetEnabled(true);
  QWidget* button = Drawn(quillon, quillon.Auto);
  button->setFocus();
  quillon.Auto.SetEnabled(false);
  SendKey(Window(quillon), QEvent::KeyPress, Qt::Key_Space);
  SendKey(Window(quillon), QEvent::KeyRelease, Qt::Key_Space);
  EXPECT_TRUE(quillon.C(0).Ticked());
  quillon.Auto.SetEnabled(true);
  EXPECT_EQ(Window(quillon)->focusWidget(), button);
}

TEST_F(WindowTest, TheKeyboardReachesEachControlInOrderAndShowsWhereItIs) {
  std::string order = "FileName Command1 Text1 Text2 ComPort Vitesse Protocol RUD3 ALL NONE Auto ";
  for (int number = 0; number < kControllers; ++number) order += "C(" + std::to_string(number) + ") ";
  order += "Check1 ComInfo ComBoot ComClose ";
  quillon.Protocol.SetText("63");
  Activate(quillon);
  QWidget* const first = Drawn(quillon, quillon.FileName);
  first->setFocus();
  std::string reached;
  do {
    QWidget* const widget = QApplication::focusWidget();
    reached += widget->objectName().toStdString() + " ";
    const QImage withFocus = widget->grab().toImage();
    SendKey(Window(quillon), QEvent::KeyPress, Qt::Key_Tab);
    ASSERT_NE(QApplication::focusWidget(), widget);
    EXPECT_NE(widget->grab().toImage(), withFocus) << widget->objectName().toStdString();
  } while (QApplication::focusWidget() != first && reached.size() < 2 * order.size());
  EXPECT_EQ(reached, order);
}

TEST_F(WindowTest, ArrowKeysGoFromBoxToNeighbour) {
  const std::tuple<int, int, int> kSteps[] = {
      {0, Qt::Key_Right, 1}, {15, Qt::Key_Right, 15}, {16, Qt::Key_Left, 16}, {31, Qt::Key_Left, 30},
      {3, Qt::Key_Down, 19}, {19, Qt::Key_Up, 3},     {3, Qt::Key_Up, 3},     {19, Qt::Key_Down, 19}};
  Activate(quillon);
  for (const auto& [from, key, to] : kSteps) {
    Drawn(quillon, quillon.C(from))->setFocus();
    SendKey(Window(quillon), QEvent::KeyPress, key);
    EXPECT_EQ(QApplication::focusWidget(), Drawn(quillon, quillon.C(to))) << from << " to " << to;
  }
  EXPECT_TRUE(quillon.C(3).Ticked()) << "arrows tick nothing";
}

TEST_F(WindowTest, AClickedBoxShowsThatItHasTheKeyboard) {
  QWidget* const box = Drawn(quillon, quillon.C(7));
  Activate(quillon);
  Window(quillon)->setAttribute(Qt::WA_KeyboardFocusChange, false);  // no key was used so far
  for (int click = 0; click < 2; ++click) QTest::mouseClick(box, Qt::LeftButton);
  const QImage withFocus = box->grab().toImage();
  Drawn(quillon, quillon.Text1)->setFocus();
  EXPECT_NE(box->grab().toImage(), withFocus);
}

TEST_F(WindowTest, AScreenReaderReadsTheTextOfTheWarningSign) {
  quillon.FileWarning.SetToolTip("line 37");
  QAccessibleInterface* read = QAccessible::queryAccessibleInterface(Drawn(quillon, quillon.FileWarning));
  EXPECT_EQ(read->text(QAccessible::Description), "line 37");
}

TEST_F(WindowTest, ADroppedFileIsChosenAndOtherThingsAreNot) {
  std::ofstream(home + "a b.hex") << ":0100000005FA\n:00000001FF\n";
  const auto drop = [&](const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter({300, 300}, Qt::CopyAction, &data, Qt::LeftButton, {});
    enter.ignore();
    QApplication::sendEvent(Window(quillon), &enter);
    if (!enter.isAccepted()) return false;
    QDropEvent dropped({300, 300}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(Window(quillon), &dropped);
    events.Yield();
    return true;
  };
  const QUrl file = QUrl::fromLocalFile(folder.filePath("a b.hex"));
  EXPECT_FALSE(drop({QUrl::fromLocalFile(folder.path())}) || drop({file, file}) ||
               drop({QUrl("http://a/b.hex")}));
  EXPECT_EQ(quillon.FileName.Text(), "");
  EXPECT_TRUE(drop({file}));
  EXPECT_EQ(quillon.FileName.Text(), home + "a b.hex");
  EXPECT_FALSE(Drawn(quillon, quillon.Text1)->acceptDrops()) << "a file's name is no time-out";
}

TEST_F(WindowTest, ALargeFileIsReadWithinASecondAndNeverHeldWhole) {
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__)
  constexpr std::size_t kLarge = 100'000'000;
#else  // reads many times slower
  constexpr std::size_t kLarge = 10'000'000;
#endif
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  const std::pair<std::string, const char*> kLines[] = {
      {":10" + std::string(38, '0') + "F0\n", "the file has no end record; it may be cut"},
      {":" + std::string(1'000'000, '0') + "\n", "line 1: has 1000000 digits, should have 10 by its length"},
  };
  for (const auto& [line, warning] : kLines) {
    std::ofstream file(home + "large");
    for (std::size_t i = 0; i < kLarge; i += line.size()) file << line;
    file.close();
    const std::clock_t begin = std::clock();  // of this program's own time: others may be busy
    quillon.FileName.SetText("");
    quillon.FileName.SetText(home + "large");
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC);
    EXPECT_EQ(quillon.FileWarning.ToolTip(), warning);
  }
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 9'000) << "kilobytes";
}

TEST_F(WindowTest, AStatusLineComesToTheFrontAndLeavesTheKeyboardWhereItIs) {
  struct Raised : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      count += event->type() == QEvent::ZOrderChange ? 1 : 0;
      return false;
    }
    int count = 0;
  } raised;
  EXPECT_TRUE(Window(quillon.message)->testAttribute(Qt::WA_ShowWithoutActivating));
  Activate(quillon);
  Drawn(quillon, quillon.Text2)->setFocus();
  Window(quillon.message)->installEventFilter(&raised);
  ShowProgress(quillon, "Controller 5 : Erasing", StatusForm::kBrief);
  clock.SleepUntil(clock.Now() + 0.01);
  events.Yield();
  EXPECT_EQ(raised.count, 1);
  EXPECT_EQ(QApplication::focusWidget(), Drawn(quillon, quillon.Text2));
  EXPECT_TRUE(Drawn(quillon.message, quillon.message.Label1)->font().bold());
  EXPECT_TRUE(Drawn(quillon.message, quillon.message.Command1)->font().bold());
}

TEST_F(WindowTest, StatusLinesAreShownBeforeAPauseOrAScreensPeriodLater) {
  const auto* shown = Drawn<QLabel>(quillon.message, quillon.message.Label1);
  const auto show = [&](const std::string& text) { quillon.message.Label1.SetText(text); };
  bool waits = false;
  for (int batch = 1; batch < 50 && !waits; ++batch) {  // on a busy computer the period is over at times
    show("batch " + std::to_string(batch));
    events.Yield();
    waits = shown->text().toStdString() != quillon.message.Label1.Text();
  }
  EXPECT_TRUE(waits) << "shown between the batches, where it costs the run";
  clock.SleepUntil(clock.Now() + 0.003);
  EXPECT_EQ(shown->text().toStdString(), quillon.message.Label1.Text());
  show("the last");
  for (const double end = clock.Now() + 5; clock.Now() < end && shown->text() != "the last";)
    events.YieldUntil(end);
  EXPECT_EQ(shown->text(), "the last");
}

TEST_F(WindowTest, CancelIsInReachWhileARunErrorStandsAndNothingElseIs) {
  const int bottom = QGuiApplication::primaryScreen()->availableGeometry().bottom();
  const std::pair<BoxKind, int> kBoxes[] = {
      {BoxKind::kRunError, 200}, {BoxKind::kRunError, bottom}, {BoxKind::kInformation, 200}};
  for (const auto& [kind, messageEnd] : kBoxes) {
    quillon.message.Show();
    Window(quillon.message)->move(100, messageEnd - Window(quillon.message)->height());
    quillon.AbortRequested = false;
    const bool failure = kind == BoxKind::kRunError;
    const auto click = [&](const Form& form, const Control& button) {
      QTest::mouseClick(Window(form)->windowHandle(), Qt::LeftButton, {},
                        Drawn(form, button)->geometry().center());
    };
    AnswerNextBox(QMessageBox::Ok, [&](QMessageBox& box) {
      EXPECT_EQ(box.icon(), failure ? QMessageBox::Warning : QMessageBox::Information);
      EXPECT_FALSE(failure && box.geometry().intersects(Window(quillon.message)->geometry()));
      EXPECT_TRUE(box.screen()->availableGeometry().contains(box.geometry()));
      click(quillon, quillon.ComClose);
      click(quillon.info, quillon.info.ComClose);
      EXPECT_TRUE(Window(quillon)->isVisible() && Window(quillon.info)->isVisible());
      click(quillon.message, quillon.message.Command1);
      EXPECT_EQ(quillon.AbortRequested, failure);
      EXPECT_EQ(Drawn(quillon, quillon.NONE)->internalWinId(), 0u)
          << "a window of the system for each widget";
    });
    dialogs.ShowBox("Error #  8020\rgone", "SendP4", kind);
  }
}

}  // namespace
}  // namespace quillon
