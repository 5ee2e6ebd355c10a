#pragma once

#include <string>

#include "platform/computer.h"

class QMessageBox;

namespace quillon {

class DesktopScreen;

/// Boxes, the beep and the file dialog. Their owner is the active window, or else the main window.
class QtDialogs final : public Dialogs {
 public:
  /// The file dialog remembers its places in `folder`, where all the files of the program are.
  QtDialogs(const DesktopScreen& screen, const std::string& folder);

  /// Carriage returns in `text` break its lines.
  void ShowBox(const std::string& text, const std::string& title, BoxKind kind) override;
  bool Ask(const std::string& question, const std::string& title) override;
  void AnswerBox() override;
  void Beep() override;
  void RequestAttention() override;
  /// Begins in the folder where the last file was chosen.
  std::string ChooseFile(const std::string& title, const std::string& filter) override;

 private:
  int Answer(QMessageBox& box);

  const DesktopScreen& screen_;
  QMessageBox* runError_ = nullptr;  // the box that is open
};

}  // namespace quillon
