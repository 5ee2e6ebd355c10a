#include "end_to_end/watchdog.h"

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <utility>

namespace quillon::test {

using namespace std::chrono_literals;

Watchdog::Watchdog(std::chrono::seconds bound, std::function<void()> tellWindows,
                   std::function<void()> tellFiles)
    : bound_(bound),
      tellWindows_(std::move(tellWindows)),
      tellFiles_(std::move(tellFiles)),
      thread_([this] { Watch(); }) {}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    over_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void Watchdog::Watch() {
  std::unique_lock lock(mutex_);
  if (changed_.wait_for(lock, bound_, [this] { return over_; })) return;
  std::fprintf(stderr, "Not over after %lld s. Here it stands:\n", static_cast<long long>(bound_.count()));
  TellWindows();
  tellFiles_();
  std::fflush(nullptr);
  std::_Exit(EXIT_FAILURE);
}

void Watchdog::TellWindows() {
  constexpr auto kPatience = 5s;
  const auto told = std::make_shared<std::promise<void>>();
  QMetaObject::invokeMethod(
      qApp,
      [this, told] {
        tellWindows_();
        told->set_value();
      },
      Qt::QueuedConnection);
  if (told->get_future().wait_for(kPatience) == std::future_status::ready) return;
  std::fprintf(stderr, "the windows serve no events\n");
}

}  // namespace quillon::test
