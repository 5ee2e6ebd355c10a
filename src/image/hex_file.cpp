// The chosen file: choosing, confirming, analysing and displaying it. `Command1` is the button "Browse ...",
// `useBB` the check box that keeps the speed while programming, `FileCheksum` the end of the checksum.
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
constexpr const char* kSpeedKeepingProduct = "ORVA";  // can be programmed at the existing speed

std::string ToolTipOf(const ImageFacts& image) {
  return image.ImageProduct + " " + image.ImageVersion + " " + image.ImageBaudText + "  [" +
         image.ImageProtocol + "]";
}

std::string FileNameOf(const std::string& path) {
  return system_files::NameOf(system_files::PathOf(path).filename());
}

/// Stores the first fault of the file. A file that can't be read has none here: the run reports it.
void FindFault(Quillon& form) {
  form.fileFault.clear();
  if (form.FileCheksum.Text().empty()) return;
  try {
    form.fileFault = FirstHexFault(LineReader::OfFile(form.FileName.Text())).value_or("");
  } catch (const RunError&) {
    // `fileFault` remains empty.
  }
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
    return true;  // AnalyseHexFile shows the failure
  }
  return form.dialogs.Ask(FileNameOf(path) + question + ". Use it anyway?", "Quillon");
}

}  // namespace

std::string AnalyseHexFile(Quillon& form) {
  // A file that fixes no speed leaves that of the former file in force.
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
  if (form.FileName.Text().empty()) {
    form.EnableDownloads(false);
    form.FileCheksum.SetText("");
    form.FileName.SetToolTip("");
    form.fileFault.clear();
    form.chosenInRun = false;
    RefreshFileWarning(form);
    form.useBB.SetValue(CheckBox::kUnticked);
    form.useBB.SetVisible(false);
    return;
  }
  form.SetPointer(Form::MousePointer::kHourglass);
  const bool outer = std::exchange(form.fileBeingRead, true);
  const ScopeExit over([&] {
    form.fileBeingRead = outer;
    form.SetPointer(Form::MousePointer::kDefault);
  });
  form.chosenInRun = form.run.UnderWay();
  form.run.Yield();  // shows the pointer
  const std::string checksum = AnalyseHexFile(form);
  form.FileCheksum.SetText(checksum.size() > kShownDigits ? checksum.substr(checksum.size() - kShownDigits)
                                                          : checksum);
  if (!form.FileCheksum.Text().empty() && !form.Protocol.Text().empty()) {
    form.EnableDownloads(true);
    form.ComLoad.SetFocus();
  }
  form.run.Yield();  // shows the checksum
  form.FileName.SetToolTip(ToolTipOf(form.image));
  FindFault(form);
  RefreshFileWarning(form);
  const bool keepsSpeed = form.image.ImageProduct == kSpeedKeepingProduct;
  form.useBB.SetEnabled(keepsSpeed);
  form.useBB.SetValue(keepsSpeed ? CheckBox::kTicked : CheckBox::kUnticked);
}

}  // namespace quillon
