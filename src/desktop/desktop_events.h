#pragma once

#include "platform/computer.h"

namespace quillon {

/// The events of Qt's windows.
class DesktopEvents final : public Events {
 public:
  explicit DesktopEvents(Clock& clock) : clock_(clock) {}

  void Yield() override;
  void YieldUntil(double time) override;
  void End() override;

  /// Serves events until the program ends; at once when it has ended already.
  void ServeUntilEnd();

 private:
  Clock& clock_;
  bool ended_ = false;
};

}  // namespace quillon
