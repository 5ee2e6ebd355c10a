// A queue of updates and the timer that runs it.
#include "desktop/deferred_paint.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QTimer>
#include <utility>
#include <vector>

namespace quillon::deferred_paint {
namespace {

constexpr int kFramePeriod = 16;  // milliseconds; a screen of 60 Hz shows no more

struct Work {
  QPointer<QObject> owner;
  std::function<void()> step;
};

std::vector<Work>& Queue() {
  static std::vector<Work> queue;
  return queue;
}

/// Runs while the queue is not empty. Destroyed with the application.
QTimer& QueueTimer() {
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
  Queue().push_back({&owner, std::move(work)});
  if (Queue().size() == 1) QueueTimer().start(kFramePeriod);
}

void Do() {
  if (Queue().empty()) return;
  QueueTimer().stop();
  for (const Work& work : std::exchange(Queue(), {})) {
    if (!work.owner.isNull()) work.step();
  }
  // Layout and painting are done now. Otherwise they would delay the run in its next wait.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
}

}  // namespace quillon::deferred_paint
