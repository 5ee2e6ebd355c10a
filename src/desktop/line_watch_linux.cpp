// Watches the file descriptor of a serial device by Qt's socket notifiers, which work with terminals as well.
#include <QSocketNotifier>

#include "desktop/line_watch.h"

namespace quillon {

struct LineWatch::Notifiers {
  explicit Notifiers(std::intptr_t watched)
      : received(watched, QSocketNotifier::Read), writable(watched, QSocketNotifier::Write) {}
  QSocketNotifier received;
  QSocketNotifier writable;
};

LineWatch::LineWatch(std::intptr_t watched, std::function<void()> onReceived,
                     std::function<void()> onWritable)
    : notifiers_(std::make_unique<Notifiers>(watched)) {
  notifiers_->writable.setEnabled(false);
  QObject::connect(&notifiers_->received, &QSocketNotifier::activated, std::move(onReceived));
  QObject::connect(&notifiers_->writable, &QSocketNotifier::activated, std::move(onWritable));
}

LineWatch::~LineWatch() = default;

void LineWatch::AwaitWritable(bool awaits) { notifiers_->writable.setEnabled(awaits); }

void LineWatch::Stop() {
  notifiers_->received.setEnabled(false);
  notifiers_->writable.setEnabled(false);
}

}  // namespace quillon
