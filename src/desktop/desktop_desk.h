#pragma once

#include <string>

#include "platform/computer.h"

class QMessageBox;

namespace quillon {

class DesktopScreen;

/// Boxes, the beep and the file dialog. They belong to the active window, else to the main window.
class DesktopDesk final : public Desk {
 public:
  /// The file dialog remembers its places in `folder`, where all the files of the program are.
  DesktopDesk(const DesktopScreen& screen, const std::string& folder);

  /// Carriage returns in `text` break its lines.
  void ShowBox(const std::string& text, const std::string& title, BoxKind kind) override;
  bool Ask(const std::string& question, const std::string& title) override;
  void AnswerBox() override;
  void Beep() override;
  void CallOperator() override;
  /// Begins in the folder where the last file was chosen.
  std::string ChooseFile(const std::string& title, const std::string& filter) override;

 private:
  int Answer(QMessageBox& box);

  const DesktopScreen& screen_;
  QMessageBox* runError_ = nullptr;  // the one that stands
};

}  // namespace quillon
