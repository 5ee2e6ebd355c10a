#include "desktop/late_painting.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <utility>
#include <vector>

namespace quillon::late_painting {
namespace {

constexpr int kScreenPeriod = 16;  // milliseconds

std::vector<QPointer<QWidget>>& Due() {
  static std::vector<QPointer<QWidget>> due;
  return due;
}

/// Runs while something is due. It goes with the application.
QTimer& TimeIsUp() {
  static QTimer* const timer = [] {
    auto* made = new QTimer(qApp);
    made->setSingleShot(true);
    made->setTimerType(Qt::PreciseTimer);
    QObject::connect(made, &QTimer::timeout, &PaintDue);
    return made;
  }();
  return *timer;
}

}  // namespace

void Defer(QWidget& widget) {
  if (!widget.updatesEnabled() || !widget.isVisible())
    return;  // it is due already, or will be painted anyway
  widget.setUpdatesEnabled(false);
  Due().push_back(&widget);
  if (Due().size() == 1) TimeIsUp().start(kScreenPeriod);
}

void PaintDue() {
  if (Due().empty()) return;
  TimeIsUp().stop();
  for (const QPointer<QWidget>& widget : std::exchange(Due(), {})) {
    if (widget.isNull()) continue;
    widget->setUpdatesEnabled(true);
    widget->repaint();
  }
}

}  // namespace quillon::late_painting
