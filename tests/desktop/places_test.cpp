// The three windows as they are laid out: where each control stands, what it says, and what it is at start.
#include <QAbstractButton>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "window_fixture.h"

namespace quillon {
namespace {

struct Row {
  const char* name = "";
  const char* text = "";
  Place place = {};  // in twips
  const char* state = "";
};

// clang-format off
const Row kMain[] = {
    {"Label3", "File to download :", {360, 480, 1245, 195}},
    {"FileName", "", {360, 765, 3015, 300}, "read-only"},
    {"Command1", "&Browse ...", {3480, 765, 1455, 300}},
    {"Label4", "File Cheksum", {360, 1200, 945, 195}},
    {"FileCheksum", "", {360, 1440, 1335, 300}, "disabled read-only centred"},
    {"useBB", "Keep the existing baud rate for firmware download (ORVA only)", {2040, 1493, 5295, 195}, "disabled"},
    {"Cmd3to4", "3 -> 4", {5760, 120, 855, 255}, "hidden"},
    {"Cmd4to3", "4 -> 3", {5760, 480, 855, 255}, "hidden"},
    {"ComLoad", "&Download (Parallel)", {7800, 120, 1335, 1215}, "disabled"},
    {"ComLoad00", "Download (Serial)", {8040, 1440, 1095, 855}, "disabled"},
    {"ComInfo", "&Flash Info", {8040, 2400, 1095, 855}, "disabled"},
    {"ComBoot", "&Boot Info", {8040, 3360, 1095, 855}, "disabled"},
    {"ComClose", "&Exit", {8040, 4320, 1095, 855}},
    {"Frame1", "  Controllers Selection  ", {120, 2280, 7815, 2655}},
    {"FileWarning", "", {1750, 1470, 240, 240}, "hidden"},
    {"V4800", "V4800", {6285, 840, 855, 195}, "hidden"},
    {"V9600", "V9600", {6285, 1020, 855, 195}, "hidden"},
    {"V19200", "V19200", {6285, 1200, 855, 195}, "hidden"},
    {"V38400", "V38400", {6285, 1380, 855, 195}, "hidden"},
    {"ChkProto", "All Controllers same protocol", {2640, 5025, 2655, 255}, "hidden"},
    {"Check1", "Save configuration on exit", {5505, 5025, 2415, 255}, "ticked"},
    {"Label39(0)", "Time Out:", {300, 240, 1100, 195}},
    {"Label39(1)", "MSec", {975, 540, 500, 195}},
    {"Label39(2)", "MSec", {2250, 540, 500, 195}},
    {"Label39(3)", "Parallel Waiting Delay:", {1485, 240, 1650, 195}},
    {"Label39(4)", "Protocol:", {6120, 240, 700, 195}},
    {"Label5", "Com Port:", {3240, 240, 1215, 195}},
    {"Label17", "Speed:", {4560, 240, 1335, 195}},
    {"Text1", "", {300, 495, 615, 285}, "centred"},
    {"Text2", "", {1575, 495, 615, 285}, "centred"},
    {"ComPort", "", {3240, 480, 1215, 315}},
    {"Vitesse", "", {4560, 480, 1335, 315}},
    {"Protocol", "", {6120, 480, 615, 285}, "centred"},
    {"RUD3", "Prot 3", {6840, 360, 855, 255}},
    {"ALL", "All", {240, 1080, 615, 375}},
    {"NONE", "None", {240, 1560, 615, 375}},
    {"Auto", "Auto", {240, 2025, 615, 375}, "disabled"},
};
const Row kInfo[] = {
    {"Titre", "Flash Info", {1200, 480, 1395, 330}, "centred"},
    {"Label41", "File Cheksum", {5160, 555, 945, 195}},
    {"FileCheksum", "", {6240, 495, 1335, 300}, "read-only centred"},
    {"ComClose", "&Close", {8280, 240, 975, 855}},
};
const Row kMessage[] = {
    {"Label1", "", {1050, 360, 5500, 195}},
    {"Command1", "Cancel", {2350, 750, 1215, 375}},
    {"Inquiet", "", {200, 100, 780, 765}},
    {"Stop", "", {200, 150, 600, 600}, "hidden"},
    {"Jumelle", "", {270, 210, 240, 240}, "hidden"},
};
// clang-format on

/// At 96 DPI a pixel is 15 twips.
int InPixels(int twips) { return static_cast<int>(std::lround(twips / 15.0)); }

QRect InPixels(const Place& place) {
  return {InPixels(place.left), InPixels(place.top), InPixels(place.width), InPixels(place.height)};
}

QString TextOf(const QWidget& widget) {
  return widget.property(qobject_cast<const QGroupBox*>(&widget) != nullptr ? "title" : "text").toString();
}

QString StateOf(const QWidget& widget) {
  QStringList words;
  if (widget.isHidden()) words << "hidden";
  if (!widget.isEnabled()) words << "disabled";
  if (const auto* box = qobject_cast<const QLineEdit*>(&widget); box != nullptr && box->isReadOnly())
    words << "read-only";
  if (widget.property("checked").toBool()) words << "ticked";
  if (widget.property("alignment").value<Qt::Alignment>().testFlag(Qt::AlignHCenter)) words << "centred";
  return words.join(' ');
}

QWidget* Named(const QWidget* window, const char* array, int index) {
  return window->findChild<QWidget*>(QString("%1(%2)").arg(array).arg(index));
}

TEST_F(WindowTest, EveryControlStandsInItsPlaceAndSaysItsWords) {
  const auto expect = [](const QWidget* window, const auto& rows) {
    for (const Row& row : rows) {
      const auto* widget = window->findChild<QWidget*>(row.name);
      ASSERT_NE(widget, nullptr) << row.name;
      EXPECT_EQ(TextOf(*widget), row.text) << row.name;
      EXPECT_EQ(StateOf(*widget), row.state) << row.name;
      const QRect place = InPixels(row.place);
      if (qobject_cast<const QLabel*>(widget) != nullptr) {  // grows with its text
        EXPECT_TRUE(widget->geometry().contains(place)) << row.name;
        EXPECT_EQ(widget->y(), place.y()) << row.name;
      } else {
        EXPECT_EQ(widget->geometry(), place) << row.name;
      }
    }
  };
  expect(Window(quillon), kMain);
  expect(Window(quillon.info), kInfo);
  expect(Window(quillon.message), kMessage);
}

TEST_F(WindowTest, ThirtyTwoBoxesStandInTwoRowsEachOverItsNumber) {
  for (int i = 0; i < 32; ++i) {
    const QWidget* box = Named(Window(quillon), "C", i);
    const QWidget* number = Named(Window(quillon), "Number", i);
    EXPECT_EQ(StateOf(*box), "ticked");
    EXPECT_EQ(box->size(), QSize(13, 13)) << i;
    EXPECT_EQ(box->y(), i < 16 ? 80 : 128) << i;
    EXPECT_NEAR(box->x(), 88 + i % 16 * 26.13, 0.6) << i;
    EXPECT_EQ(TextOf(*number), QString::number(i));
    EXPECT_EQ(number->y(), i < 16 ? 96 : 144) << i;
    EXPECT_NEAR(number->geometry().center().x(), box->geometry().center().x(), 1) << i;
    EXPECT_TRUE(qobject_cast<const QLabel*>(number)->alignment() & Qt::AlignHCenter) << i;
  }
}

TEST_F(WindowTest, TheTableHasFourBlocksOfEightRows) {
  constexpr int kLefts[] = {64, 136, 208, 280, 352, 424, 496, 568};
  constexpr int kTops[][3] = {{96, 120, 144}, {176, 200, 224}, {256, 280, 304}, {336, 360, 384}};
  for (int i = 0; i < 32; ++i) {
    const int left = kLefts[i % 8];
    const auto& [ver, ckSum, number] = kTops[i / 8];
    EXPECT_EQ(Named(Window(quillon.info), "Ver", i)->geometry(), QRect(left, ver, 57, 19)) << i;
    EXPECT_EQ(Named(Window(quillon.info), "CkSum", i)->geometry(), QRect(left, ckSum, 57, 19)) << i;
    EXPECT_EQ(StateOf(*Named(Window(quillon.info), "Ver", i)), "read-only centred") << i;
    EXPECT_EQ(StateOf(*Named(Window(quillon.info), "CkSum", i)), "read-only centred") << i;
    EXPECT_EQ(Named(Window(quillon.info), "Ver", i)->accessibleName(), QString("Version %1").arg(i));
    EXPECT_EQ(Named(Window(quillon.info), "CkSum", i)->accessibleName(), QString("Cheksum %1").arg(i));
    const auto labels = Window(quillon.info)->findChildren<QLabel*>();
    const auto stands = [&](const QString& text, int x, int y) {
      return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
        const bool centred = label->alignment().testFlag(Qt::AlignHCenter);
        return label->text() == text && label->geometry().contains(x, y) && label->y() == y &&
               centred == text.at(0).isDigit();
      });
    };
    EXPECT_TRUE(stands(QString::number(i), left, number)) << i;
    EXPECT_TRUE(stands("Version", 16, ver + 3) && stands("Cheksum", 8, ckSum + 3)) << i;
  }
}

TEST_F(WindowTest, WindowsAreOfTheirKindAndStandInTheMiddle) {
  const QWidget* main = Window(quillon);
  const QWidget* info = Window(quillon.info);
  const QWidget* message = Window(quillon.message);
  EXPECT_EQ(main->objectName() + info->objectName() + message->objectName(), "QuillonInfoMessage");
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
    EXPECT_LE((window->geometry().center() - middle).manhattanLength(), kFrame)
        << qPrintable(window->objectName());
}

/// What a caption needs is seen by its ink: more room above and below shows no more of it.
TEST_F(WindowTest, CaptionsAreNotClipped) {
  const auto ink = [](QAbstractButton* button) {
    const QImage image = button->grab().toImage();
    int dark = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) dark += qGray(image.pixel(x, y)) < 110 ? 1 : 0;
    return dark;
  };
  for (const Form* form : std::initializer_list<Form*>{&quillon, &quillon.info, &quillon.message}) {
    for (QAbstractButton* button : Window(*form)->findChildren<QAbstractButton*>()) {
      if (button->text().isEmpty()) continue;
      button->setEnabled(true);
      if (auto* box = qobject_cast<QCheckBox*>(button)) box->setChecked(false);
      const int shown = ink(button);
      const int widest =
          button->fontMetrics().size(Qt::TextShowMnemonic, button->text().section(' ', 0, 0)).width();
      EXPECT_LE(widest, button->width() - 8) << qPrintable(button->text());
      button->resize(button->width(), button->height() + 40);
      EXPECT_GT(shown, 20) << qPrintable(button->text());
      EXPECT_NEAR(ink(button), shown, shown / 50.0) << qPrintable(button->text());
    }
  }
}

}  // namespace
}  // namespace quillon
