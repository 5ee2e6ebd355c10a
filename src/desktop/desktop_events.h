#pragma once

#include "platform/computer.h"

namespace quillon {

/// The events of Qt's windows.
class DesktopEvents final : public Events {
 public:
  void Yield() override;
  void End() override;

  /// Serves events until the program ends; at once when it has ended already.
  void ServeUntilEnd();

 private:
  bool ended_ = false;
};

}  // namespace quillon
