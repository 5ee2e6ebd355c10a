#pragma once

#include "platform/computer.h"

namespace quillon {

/// Handles the events of Qt's windows while the program waits.
class DesktopEvents final : public Events {
 public:
  explicit DesktopEvents(Clock& clock) : clock_(clock) {}

  void Yield() override;
  void YieldUntil(double time) override;
  void End() override;

  /// Handles events until End is called. Returns at once if it was called before.
  void ServeUntilEnd();

 private:
  Clock& clock_;
  bool ended_ = false;
};

}  // namespace quillon
