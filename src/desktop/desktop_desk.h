#pragma once

#include <string>

#include "platform/computer.h"

namespace quillon {

class DesktopScreen;

/// Boxes, the beep and the file dialog. They belong to the active window, else to the main window.
class DesktopDesk final : public Desk {
 public:
  explicit DesktopDesk(const DesktopScreen& screen) : screen_(screen) {}

  /// Carriage returns in `text` break its lines. A title that ends in "Error" gives the warning sign.
  void ShowBox(const std::string& text, const std::string& title) override;
  void Beep() override;
  /// Begins in the folder where the last file was chosen.
  std::string ChooseFile(const std::string& title, const std::string& filter) override;

 private:
  const DesktopScreen& screen_;
};

}  // namespace quillon
