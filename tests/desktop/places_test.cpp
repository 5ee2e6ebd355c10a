// The three windows as they are laid out: texts and states at the start, relations between places, and some
// places to the pixel.
#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QScreen>
#include <algorithm>

#include "window_fixture.h"

namespace quillon {
namespace {

class Places : public WindowTest {
 protected:
  /// The controls of a window in their order.
  static QList<QWidget*> Controls(const Form& form) {
    QList<QWidget*> controls = Window(form)->findChildren<QWidget*>();
    controls.removeIf([&](const QWidget* widget) {
      const bool ownedByQt = widget->objectName().isEmpty() || widget->objectName().startsWith("qt_");
      return ownedByQt || widget->window() != Window(form);
    });
    return controls;
  }

  /// The texts of a window without those that occur in each row, and without the numbers of controllers.
  static std::string Texts(const Form& form) {
    QStringList texts;
    for (const QWidget* control : Controls(form)) {
      for (const char* property : {"text", "title"}) {
        const QString text = control->property(property).toString();
        if (!text.isEmpty() && !text.at(0).isDigit() && !texts.contains(text)) texts << text;
      }
    }
    return texts.join('|').toStdString();
  }

  /// The names of the controls that match, those of an array once.
  template <class Predicate>
  static std::string NamesOf(const Form& form, Predicate matches) {
    QStringList names;
    for (const QWidget* control : Controls(form)) {
      const QString name = control->objectName().section('(', 0, 0);
      if (matches(control) && !names.contains(name)) names << name;
    }
    return names.join(' ').toStdString();
  }

  const std::vector<const Form*> forms{&quillon, &quillon.info, &quillon.message};
};

TEST_F(Places, ControlsShowTheirTextsAndStatesAtTheStart) {
  EXPECT_EQ(Texts(quillon),
            "File to download :|&Browse ...|File Cheksum|"
            "Keep the existing baud rate for firmware download (ORVA only)|  Controllers Selection  |"
            "Com Port:|Speed:|Prot 3|All|None|Auto|Time Out:|MSec|Parallel Waiting Delay:|Protocol:|"
            "All Controllers same protocol|Save configuration on exit|&Download (Parallel)|"
            "Download (Serial)|&Flash Info|&Boot Info|&Exit|V4800|V9600|V19200|V38400");
  EXPECT_EQ(Texts(quillon.info), "Flash Info|File Cheksum|&Close|Version|Cheksum");
  EXPECT_EQ(Texts(quillon.message), "Cancel");
  const auto hidden = [](const QWidget* widget) { return widget->isHidden(); };
  const auto disabled = [](const QWidget* widget) { return !widget->isEnabled(); };
  const auto readOnly = [](const QWidget* widget) { return widget->property("readOnly").toBool(); };
  const auto ticked = [](const QWidget* widget) { return widget->property("checked").toBool(); };
  const auto centred = [](const QWidget* widget) {
    return widget->property("alignment").value<Qt::Alignment>().testFlag(Qt::AlignHCenter);
  };
  EXPECT_EQ(NamesOf(quillon, hidden), "FileWarning Cmd3to4 Cmd4to3 ChkProto V4800 V9600 V19200 V38400");
  EXPECT_EQ(NamesOf(quillon.message, hidden), "Stop Jumelle Sent");
  EXPECT_EQ(NamesOf(quillon, disabled), "FileCheksum useBB Auto ComLoad ComLoad00 ComInfo ComBoot");
  EXPECT_EQ(NamesOf(quillon, readOnly), "FileName FileCheksum");
  EXPECT_EQ(NamesOf(quillon.info, readOnly), "FileCheksum Ver CkSum");
  EXPECT_EQ(NamesOf(quillon, ticked), "C Check1");
  EXPECT_EQ(NamesOf(quillon, centred), "FileCheksum Text1 Text2 Protocol Number");
  EXPECT_EQ(NamesOf(quillon.info, centred), "Titre FileCheksum Ver CkSum Caption");
}

TEST_F(Places, ControlsAreWhereTheyBelong) {
  const std::tuple<const Form&, const char*, QRect> kPlaces[] = {
      {quillon, "Command1", {232, 51, 97, 20}},      {quillon, "ComLoad", {520, 8, 89, 81}},
      {quillon, "Frame1", {8, 152, 521, 177}},       {quillon, "Vitesse", {304, 32, 89, 21}},
      {quillon.info, "ComClose", {552, 16, 65, 57}}, {quillon.message, "Command1", {157, 50, 81, 25}},
  };
  for (const auto& [form, name, place] : kPlaces)
    EXPECT_EQ(Window(form)->findChild<QWidget*>(name)->geometry(), place) << name;

  const QList<QLabel*> labels = Window(quillon.info)->findChildren<QLabel*>();
  for (int i = 0; i < kControllers; ++i) {
    const QRect box = Drawn(quillon, quillon.C(i))->geometry();
    EXPECT_EQ(box.y(), i < 16 ? 80 : 128) << i;
    EXPECT_NEAR(box.x(), 88 + i % 16 * 26.13, 0.6) << i;
    const auto* number = Window(quillon)->findChild<QLabel*>(QString("Number(%1)").arg(i));
    EXPECT_EQ(number->text(), QString::number(i));
    EXPECT_NEAR(number->geometry().center().x(), box.center().x(), 1) << i;

    const QRect version(64 + i % 8 * 72, 96 + i / 8 * 80, 57, 19);
    EXPECT_EQ(Drawn(quillon.info, quillon.info.Ver(i))->geometry(), version) << i;
    EXPECT_EQ(Drawn(quillon.info, quillon.info.CkSum(i))->geometry(), version.translated(0, 24)) << i;
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
      return label->text() == QString::number(i) &&
             label->geometry().contains(version.left(), version.y() + 48);
    })) << i;
  }
}

TEST_F(Places, WindowsAreOfTheirKindAndInTheMiddle) {
  const QWidget* main = Window(quillon);
  const QWidget* info = Window(quillon.info);
  const QWidget* message = Window(quillon.message);
  EXPECT_EQ(main->size(), QSize(613, 360));
  EXPECT_EQ(main->minimumSize(), main->maximumSize());
  EXPECT_FALSE(main->windowFlags() & Qt::WindowMinMaxButtonsHint);
  EXPECT_EQ(main->windowTitle(), " Quillon version 1.10.0");

  EXPECT_EQ(info->size(), QSize(630, 425));
  EXPECT_GT(info->maximumWidth(), 5000) << "it can be made larger";
  EXPECT_EQ(info->windowTitle(), "Flash Info");

  EXPECT_EQ(message->size(), QSize(398, 81));
  EXPECT_EQ(message->minimumSize(), message->maximumSize());
  EXPECT_EQ(message->windowType(), Qt::Dialog);
  EXPECT_FALSE(message->windowFlags() & (Qt::WindowTitleHint | Qt::WindowCloseButtonHint));
  EXPECT_EQ(message->parentWidget(), main);

  constexpr int kFrame = 8;  // pixels that the edges of windows may move them
  const QPoint middle = QGuiApplication::primaryScreen()->availableGeometry().center();
  for (const QWidget* window : {main, info, message})
    EXPECT_LE((window->geometry().center() - middle).manhattanLength(), kFrame);
}

TEST_F(Places, ALabelNeverReachesIntoItsNeighbour) {
  struct Row : Form {
    explicit Row(Screen& screen) : Form(screen, "Row", "", Border::kFixed, 6000, 1000) {}
    Label first{*this, "first", {100, 100, 300, 195}, {.text = "a text that is too long for its place"}};
    TextBox second{*this, "second", {1500, 60, 900, 285}, {}};
  } row(screen);
  row.Show();
  EXPECT_LE(Drawn(row, row.first)->geometry().right(), Drawn(row, row.second)->x());
}

// The next two run with larger fonts too.

TEST_F(Places, ControlsAreInsideTheirWindowAndDoNotOverlap) {
  for (const Form* form : forms) {
    for (const QWidget* one : Controls(*form)) {
      const bool statusLine = one == Drawn(quillon.message, quillon.message.Label1);  // its text wraps
      EXPECT_TRUE(statusLine || one->parentWidget()->rect().contains(one->geometry()))
          << qPrintable(one->objectName());
      for (const QWidget* other : Controls(*form)) {
        if (one == other || one->parent() != other->parent() || one->isHidden() || other->isHidden())
          continue;
        EXPECT_FALSE(one->geometry().intersects(other->geometry()))
            << qPrintable(one->objectName() + " and " + other->objectName());
      }
    }
  }
}

/// A caption is clipped if more height shows more of its dark pixels.
TEST_F(Places, CaptionsAreNotClipped) {
  const auto darkPixels = [](QAbstractButton* button) {
    const QImage image = button->grab().toImage();
    int dark = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) dark += qGray(image.pixel(x, y)) < 110 ? 1 : 0;
    return dark;
  };
  for (const Form* form : forms) {
    for (QAbstractButton* button : Window(*form)->findChildren<QAbstractButton*>()) {
      if (button->text().isEmpty()) continue;
      button->setEnabled(true);
      if (auto* box = qobject_cast<QCheckBox*>(button)) box->setChecked(false);
      const int shown = darkPixels(button);
      const int widest =
          button->fontMetrics().size(Qt::TextShowMnemonic, button->text().section(' ', 0, 0)).width();
      EXPECT_LE(widest, button->width() - 8) << qPrintable(button->text());
      button->resize(button->width(), button->height() + 40);
      EXPECT_GT(shown, 20) << qPrintable(button->text());
      EXPECT_NEAR(darkPixels(button), shown, shown / 50.0) << qPrintable(button->text());
    }
  }
}

}  // namespace
}  // namespace quillon
