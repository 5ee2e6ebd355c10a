#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace quillon::test {

/// Ends the process with failure when `bound` has passed and it still stands; says first where the test
/// stood.
class Watchdog {
 public:
  /// `tellWindows` runs on the thread of the windows, if that serves events; then `tellFiles` on another one.
  Watchdog(std::chrono::seconds bound, std::function<void()> tellWindows, std::function<void()> tellFiles);
  ~Watchdog();

 private:
  void Watch();
  void TellWindows();

  const std::chrono::seconds bound_;
  const std::function<void()> tellWindows_;
  const std::function<void()> tellFiles_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  std::thread thread_;
};

}  // namespace quillon::test
