// Sets the appearance of the tool, which is the same on every desktop: style, colours, fonts and pictures.
// Pictures are drawn at build time in several sizes, as resources such as "stop-31.png". The nearest larger
// one is scaled down.
#include "desktop/theme.h"

#include <QApplication>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QPalette>
#include <QProxyStyle>
#include <QScreen>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace quillon {
namespace {

constexpr double kTwipsPerInch = 1440;
constexpr double kFormPoints = 8.25;
constexpr int kIndicatorTwips = 195;
constexpr int kPictureSides[] = {QUILLON_PICTURE_SIDES};  // pixels, ascending

const QColor kWindow(240, 240, 240);
const QColor kHighlight(38, 110, 170);
const QColor kDisabledText(130, 130, 130);
const QColor kDisabledBoxText(64, 64, 64);  // darker: the contents must be readable

/// Fusion with three changes: a check box fits its place on the form, a list opens below its box with a
/// scroll bar instead of covering the screen with all items, and the OK button has no icon.
class ThemeStyle final : public QProxyStyle {
 public:
  ThemeStyle() : QProxyStyle("fusion") {}

  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
    if (metric == PM_IndicatorWidth || metric == PM_IndicatorHeight) return Pixels(kIndicatorTwips);
    return QProxyStyle::pixelMetric(metric, option, widget);
  }

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* data) const override {
    if (hint == SH_ComboBox_Popup || hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
    return QProxyStyle::styleHint(hint, option, widget, data);
  }
};

QPalette LightPalette() {
  QPalette palette(kWindow, kWindow);
  palette.setColor(QPalette::Base, Qt::white);
  palette.setColor(QPalette::AlternateBase, QColor(247, 247, 247));
  palette.setColor(QPalette::ToolTipBase, QColor(255, 255, 220));
  palette.setColor(QPalette::ToolTipText, Qt::black);
  palette.setColor(QPalette::Highlight, kHighlight);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::ButtonText, QPalette::Text}) {
    palette.setColor(role, Qt::black);
    palette.setColor(QPalette::Disabled, role, kDisabledText);
  }
  palette.setColor(QPalette::Disabled, QPalette::Text, kDisabledBoxText);
  palette.setColor(QPalette::Disabled, QPalette::Base, kWindow);
  return palette;
}

}  // namespace

void ApplyTheme(QApplication& application) {
  QGuiApplication::setDesktopFileName(QUILLON_ID);  // for desktops that display the icon themselves
  QApplication::setStyle(new ThemeStyle);
  application.setPalette(LightPalette());
  application.setFont(ControlFont(kFormPoints, false));
  // Qt shows the focus frame only after the Tab key. This shows it always.
  QObject::connect(&application, &QApplication::focusChanged, [](QWidget*, QWidget* current) {
    if (current != nullptr) current->window()->setAttribute(Qt::WA_KeyboardFocusChange);
  });
}

void SetWindowIcon() {
  QIcon icon;
  for (const int side : {16, 24, 32, 48, 64, 128})
    icon.addPixmap(ScaledPicture("quillon", QSize(side, side), 1.0));
  QApplication::setWindowIcon(icon);
}

QFont ControlFont(double points, bool bold) {
  QFont font;
  font.setFamilies({"Arial", "Liberation Sans"});
  font.setStyleHint(QFont::SansSerif);
  font.setPointSizeF(points);
  font.setBold(bold);
  return font;
}

int Pixels(int twips) {
  return static_cast<int>(
      std::lround(twips * QGuiApplication::primaryScreen()->logicalDotsPerInch() / kTwipsPerInch));
}

/// Loads the smallest drawing that is at least as large as needed, or else the largest one.
QPixmap ScaledPicture(const std::string& name, QSize size, double scale) {
  const int wanted = static_cast<int>(std::lround(std::min(size.width(), size.height()) * scale));
  QString file;
  for (const int side : kPictureSides) {
    const QString drawn = QString(":/%1-%2.png").arg(QString::fromStdString(name)).arg(side);
    if (!QFile::exists(drawn)) continue;
    file = drawn;
    if (side >= wanted) break;
  }
  QPixmap picture(file);
  if (picture.isNull() || wanted <= 0) return {};
  if (picture.width() != wanted) picture = picture.scaledToWidth(wanted, Qt::SmoothTransformation);
  picture.setDevicePixelRatio(scale);
  return picture;
}

}  // namespace quillon
