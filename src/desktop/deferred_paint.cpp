// Implements deferred painting: a queue of updates, and a timer that runs them 16 ms after the first one was
// added. So a status line that changes faster than the screen can show it is not painted for every change.
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
    auto* created = new QTimer(qApp);
    created->setSingleShot(true);
    created->setTimerType(Qt::PreciseTimer);
    QObject::connect(created, &QTimer::timeout, &Do);
    return created;
  }();
  return *timer;
}

}  // namespace

void Add(QObject& owner, std::function<void()> work) {
  Queue().push_back({&owner, std::move(work)});
  if (Queue().size() == 1) QueueTimer().start(kFramePeriod);
}

bool IsPending() { return !Queue().empty(); }

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
