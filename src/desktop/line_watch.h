#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace quillon {

/// Makes an open line a source of window events, so that a received byte ends a wait for events.
class LineWatch {
 public:
  /// `watched` is SystemLine::Watched. `onReceived` is called when bytes are received, and must read them.
  /// `onWritable` is called when the line accepts bytes again, while AwaitWritable is switched on.
  LineWatch(std::intptr_t watched, std::function<void()> onReceived, std::function<void()> onWritable);
  ~LineWatch();

  void AwaitWritable(bool awaits);
  /// Ends the watch, since the line has failed.
  void Stop();

 private:
  struct Notifiers;
  std::unique_ptr<Notifiers> notifiers_;
};

}  // namespace quillon
