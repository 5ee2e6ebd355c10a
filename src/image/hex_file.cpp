#include "image/hex_file.h"

#include "forms/run_error_box.h"
#include "image/analyse_image.h"
#include "image/hex_faults.h"
#include "platform/finally.h"

namespace quillon {
namespace {

constexpr std::size_t kShownDigits = 4;      // the part of the checksum that a controller reports
constexpr const char* kKeepsSpeed = "ORVA";  // the product that can be programmed at the existing speed

std::string ToolTipOf(const ImageFacts& image) {
  return image.ImageProduct + " " + image.ImageVersion + " " + image.ImageBaudText + "  [" +
         image.ImageProtocol + "]";
}

/// The sign beside the checksum is visible while the chosen file contradicts itself. Its tool tip describes
/// the first fault. A file that can't be read again is not marked: the run that needs it shows the box.
void WarnOfFaults(Quillon& form) {
  form.FileWarning.SetVisible(false);
  if (form.FileCheksum.Text().empty()) return;
  try {
    const auto fault = FirstHexFault(LineReader::OfFile(form.FileName.Text()));
    form.FileWarning.SetToolTip(fault.value_or(""));
    form.FileWarning.SetVisible(fault.has_value());
  } catch (const RunError&) {
    // Nothing is known of its faults.
  }
}

}  // namespace

std::string AnalyseHexFile(Quillon& form) {
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

void FileName_Change(Quillon& form) {
  if (form.FileName.Text().empty()) {
    form.EnableDownloads(false);
    form.FileCheksum.SetText("");
    form.FileName.SetToolTip("");
    form.FileWarning.SetVisible(false);
    form.useBB.SetValue(CheckBox::kUnticked);
    form.useBB.SetVisible(false);
    return;
  }
  form.SetPointer(Form::MousePointer::kHourglass);
  const Finally pointerBack([&] { form.SetPointer(Form::MousePointer::kDefault); });
  form.run.Yield();
  const std::string checksum = AnalyseHexFile(form);
  form.FileCheksum.SetText(checksum.size() > kShownDigits ? checksum.substr(checksum.size() - kShownDigits)
                                                          : checksum);
  if (!form.FileCheksum.Text().empty() && !form.Protocol.Text().empty()) {
    form.EnableDownloads(true);
    form.ComLoad.SetFocus();
  }
  form.run.Yield();
  form.FileName.SetToolTip(ToolTipOf(form.image));
  WarnOfFaults(form);
  const bool keepsSpeed = form.image.ImageProduct == kKeepsSpeed;
  form.useBB.SetEnabled(keepsSpeed);
  form.useBB.SetValue(keepsSpeed ? CheckBox::kTicked : CheckBox::kUnticked);
}

}  // namespace quillon
