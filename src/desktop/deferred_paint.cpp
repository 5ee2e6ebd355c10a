#include "desktop/deferred_paint.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QTimer>
#include <utility>
#include <vector>

namespace quillon::deferred_paint {
namespace {

constexpr int kScreenPeriod = 16;  // milliseconds

struct Work {
  QPointer<QObject> owner;
  std::function<void()> step;
};

std::vector<Work>& Due() {
  static std::vector<Work> due;
  return due;
}

/// Runs while something is due. It goes with the application.
QTimer& TimeIsUp() {
  static QTimer* const timer = [] {
    auto* made = new QTimer(qApp);
    made->setSingleShot(true);
    made->setTimerType(Qt::PreciseTimer);
    QObject::connect(made, &QTimer::timeout, &Do);
    return made;
  }();
  return *timer;
}

}  // namespace

void Add(QObject& owner, std::function<void()> work) {
  Due().push_back({&owner, std::move(work)});
  if (Due().size() == 1) TimeIsUp().start(kScreenPeriod);
}

void Do() {
  if (Due().empty()) return;
  TimeIsUp().stop();
  for (const Work& work : std::exchange(Due(), {})) {
    if (!work.owner.isNull()) work.step();
  }
  // What the work asked of the windows belongs to it: else the run would pay for it in its next yield.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
}

}  // namespace quillon::deferred_paint
