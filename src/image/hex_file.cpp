// The chosen firmware file: the operator chooses it, the tool checks and analyses it, and the main window
// shows the result before a download can start.
//
//     "Browse ..." or a dropped file  ->  ConfirmFile: a damaged file needs the operator's consent
//       ->  `FileName` changes        ->  FileName_Change: analyses the file and shows what it contains
//
// AnalyseHexFile is also called during a download, for each full checksum, in case the file has changed.
//
// The names of the controls are fixed: `Command1` is the button "Browse ...", `FileName` the path,
// `FileCheksum` (spelled so) the last digits of the checksum, `FileWarning` the warning sign beside it,
// `ComLoad` the button "Download (Parallel)", `useBB` the check box that keeps the speed while programming.
#include "image/hex_file.h"

#include <utility>

#include "forms/run_error_box.h"
#include "image/analyse_image.h"
#include "image/hex_faults.h"
#include "platform/scope_exit.h"
#include "platform/system_files.h"

namespace quillon {
namespace {

constexpr std::size_t kShownDigits = 4;  // the last digits of the checksum, which a controller reports
constexpr const char* kSpeedKeepingProduct = "ORVA";  // the only one that can keep the existing speed

std::string ToolTipOf(const ImageFacts& image) {
  return image.ImageProduct + " " + image.ImageVersion + " " + image.ImageBaudText + "  [" +
         image.ImageProtocol + "]";
}

std::string FileNameOf(const std::string& path) {
  return system_files::NameOf(system_files::PathOf(path).filename());
}

/// Stores the first fault of the file in `fileFault`. A file that can't be read has none here:
/// AnalyseHexFile has shown a box, and a download reads it again.
void FindFault(Quillon& form) {
  form.fileFault.clear();
  if (form.FileCheksum.Text().empty()) return;
  try {
    form.fileFault = FirstHexFault(LineReader::OfFile(form.FileName.Text())).value_or("");
  } catch (const RunError&) {
    // `fileFault` remains empty.
  }
}

/// Shows the last digits of the checksum, and enables the downloads if everything they need is there.
void ShowChecksum(Quillon& form, const std::string& checksum) {
  const bool longer = checksum.size() > kShownDigits;
  form.FileCheksum.SetText(longer ? checksum.substr(checksum.size() - kShownDigits) : checksum);
  if (form.FileCheksum.Text().empty() || form.Protocol.Text().empty()) return;
  form.EnableDownloads(true);
  form.ComLoad.SetFocus();
}

/// Enables and ticks `useBB` for the product that can keep the speed, else disables and unticks it.
void OfferToKeepSpeed(Quillon& form) {
  const bool keepsSpeed = form.image.ImageProduct == kSpeedKeepingProduct;
  form.useBB.SetEnabled(keepsSpeed);
  form.useBB.SetValue(keepsSpeed ? CheckBox::kTicked : CheckBox::kUnticked);
}

void ShowNoFile(Quillon& form) {
  form.EnableDownloads(false);
  form.FileCheksum.SetText("");
  form.FileName.SetToolTip("");
  form.fileFault.clear();
  form.chosenInRun = false;
  RefreshFileWarning(form);
  form.useBB.SetValue(CheckBox::kUnticked);
  form.useBB.SetVisible(false);
}

/// Whether to use a file. For a damaged one the operator decides.
bool ConfirmFile(Quillon& form, const std::string& path) {
  std::string question;
  try {
    const auto fault = FirstHexFault(LineReader::OfFile(path));
    if (!fault) return true;
    question =
        (ContainsData(LineReader::OfFile(path)) ? " is damaged: " : " contains no firmware: ") + *fault;
  } catch (const RunError&) {
    return true;  // AnalyseHexFile will read the file again and show the failure
  }
  return form.dialogs.Ask(FileNameOf(path) + question + ". Use it anyway?", "Quillon");
}

}  // namespace

std::string AnalyseHexFile(Quillon& form) {
  // Empties all facts but the speed: a file that fixes no speed leaves that of the former file in force.
  form.image = {.ImageBaudRate = form.image.ImageBaudRate};
  if (!FileExists(form.FileName.Text())) {
    form.dialogs.ShowBox("File not Found!", "Quillon", BoxKind::kInformation);
    return "";
  }
  std::string checksum;
  Try(form,
      [&] { checksum = ChecksumText(AnalyseImage(LineReader::OfFile(form.FileName.Text()), form.image)); },
      {.addition = "\rPlease, Check your HEX file !"});
  return checksum;
}

void Command1_Click(Quillon& form) {
  for (;;) {
    const std::string chosen =
        form.dialogs.ChooseFile("Select a Hex file", "Hexadecimal Files (*.hex)|*.hex");
    if (chosen.empty()) return;
    if (ConfirmFile(form, chosen)) return form.FileName.SetText(chosen);
  }
}

void DropFile(Quillon& form, const std::string& path) {
  if (ConfirmFile(form, path)) form.FileName.SetText(path);
}

void RefreshFileWarning(Quillon& form) {
  std::string text = form.fileFault;
  if (form.chosenInRun) {
    if (!text.empty()) text += "; ";
    text += "chosen during a run: start the download again";
  }
  form.FileWarning.SetToolTip(text);
  form.FileWarning.SetVisible(!text.empty());
}

void FileName_Change(Quillon& form) {
  if (form.FileName.Text().empty()) return ShowNoFile(form);
  form.SetPointer(Form::MousePointer::kHourglass);
  // Another file can be chosen inside a yield. This function is then called inside itself.
  const bool alreadyReading = std::exchange(form.fileBeingRead, true);
  const ScopeExit finished([&] {
    form.fileBeingRead = alreadyReading;
    form.SetPointer(Form::MousePointer::kDefault);
  });
  form.chosenInRun = form.run.UnderWay();
  form.run.Yield();  // paints the pointer before the analysis, which takes time
  ShowChecksum(form, AnalyseHexFile(form));
  form.run.Yield();  // paints the checksum
  form.FileName.SetToolTip(ToolTipOf(form.image));
  FindFault(form);
  RefreshFileWarning(form);
  OfferToKeepSpeed(form);
}

}  // namespace quillon
