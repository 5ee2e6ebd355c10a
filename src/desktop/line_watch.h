#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace quillon {

/// Looks at an open line among the events of the windows: a byte that it receives ends a wait for events.
class LineWatch {
 public:
  /// `watched` is what the line says. `onReceived` runs whenever bytes are there and must take them; `onRoom`
  /// while AwaitRoom asks for it and the line takes bytes again.
  LineWatch(std::intptr_t watched, std::function<void()> onReceived, std::function<void()> onRoom);
  ~LineWatch();

  void AwaitRoom(bool awaits);
  /// Looks no more, since the line failed.
  void Stop();

 private:
  struct Notifiers;
  std::unique_ptr<Notifiers> notifiers_;
};

}  // namespace quillon
