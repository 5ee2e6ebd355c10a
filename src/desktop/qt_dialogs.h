#pragma once

#include <string>

#include "platform/computer.h"

class QMessageBox;

namespace quillon {

class DesktopScreen;

/// Boxes, the beep and the file dialog. Their owner is the active window, or else the main window.
class QtDialogs final : public Dialogs {
 public:
  /// `folder` is the program's folder, in which the file dialog stores the folders that it has shown.
  QtDialogs(const DesktopScreen& screen, const std::string& folder);

  /// A carriage return in `text` begins a new line.
  void ShowBox(const std::string& text, const std::string& title, BoxKind kind) override;
  bool Ask(const std::string& question, const std::string& title) override;
  void AnswerBox() override;
  void Beep() override;
  void RequestAttention() override;
  /// Starts in the folder of the file that was chosen last.
  std::string ChooseFile(const std::string& title, const std::string& filter) override;

 private:
  const DesktopScreen& screen_;
  QMessageBox* runError_ = nullptr;  // the box that is open
};

}  // namespace quillon
