// Watches the event of the pending read.
#include <QAbstractEventDispatcher>
#include <QWinEventNotifier>

#include "desktop/line_watch.h"

namespace quillon {

struct LineWatch::Notifiers {
  explicit Notifiers(std::intptr_t watched) : received(reinterpret_cast<Qt::HANDLE>(watched)) {}
  QWinEventNotifier received;
};

// Qt delivers the event at the beginning of a pass of its event loop and then sleeps, although a wait for
// these bytes is over. The wake-up ends that sleep.
LineWatch::LineWatch(std::intptr_t watched, std::function<void()> onReceived, std::function<void()>)
    : notifiers_(std::make_unique<Notifiers>(watched)) {
  QObject::connect(&notifiers_->received, &QWinEventNotifier::activated, [onReceived] {
    onReceived();
    QAbstractEventDispatcher::instance()->wakeUp();
  });
}

LineWatch::~LineWatch() = default;

// Not necessary: the system accepts all bytes at once.
void LineWatch::AwaitWritable(bool) {}

void LineWatch::Stop() { notifiers_->received.setEnabled(false); }

}  // namespace quillon
