// Watches the event of the pending read.
#include <QWinEventNotifier>

#include "desktop/line_watch.h"

namespace quillon {

struct LineWatch::Notifiers {
  explicit Notifiers(std::intptr_t watched) : received(reinterpret_cast<Qt::HANDLE>(watched)) {}
  QWinEventNotifier received;
};

LineWatch::LineWatch(std::intptr_t watched, std::function<void()> onReceived, std::function<void()>)
    : notifiers_(std::make_unique<Notifiers>(watched)) {
  QObject::connect(&notifiers_->received, &QWinEventNotifier::activated, std::move(onReceived));
}

LineWatch::~LineWatch() = default;

// Not necessary: the system accepts all bytes at once.
void LineWatch::AwaitWritable(bool) {}

void LineWatch::Stop() { notifiers_->received.setEnabled(false); }

}  // namespace quillon
