// Watches the file descriptor of a terminal device.
#include <QSocketNotifier>

#include "desktop/line_watch.h"

namespace quillon {

struct LineWatch::Notifiers {
  explicit Notifiers(std::intptr_t watched)
      : received(watched, QSocketNotifier::Read), room(watched, QSocketNotifier::Write) {}
  QSocketNotifier received;
  QSocketNotifier room;
};

LineWatch::LineWatch(std::intptr_t watched, std::function<void()> onReceived, std::function<void()> onRoom)
    : notifiers_(std::make_unique<Notifiers>(watched)) {
  notifiers_->room.setEnabled(false);
  QObject::connect(&notifiers_->received, &QSocketNotifier::activated, std::move(onReceived));
  QObject::connect(&notifiers_->room, &QSocketNotifier::activated, std::move(onRoom));
}

LineWatch::~LineWatch() = default;

void LineWatch::AwaitRoom(bool awaits) { notifiers_->room.setEnabled(awaits); }

void LineWatch::Stop() {
  notifiers_->received.setEnabled(false);
  notifiers_->room.setEnabled(false);
}

}  // namespace quillon
