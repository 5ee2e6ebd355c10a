// The chosen firmware file. It is analysed when it is chosen, so that nothing can be downloaded before its
// checksum stands there; and once more for each controller that confirms its flash, so that what is compared
// is the file as it is then.
#include <string>

#include "image/analyse_image.h"
#include "image/hex_faults.h"
#include "platform/finally.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::size_t kShownDigits = 4;      // the part of the checksum that a controller reports
constexpr const char* kKeepsSpeed = "ORVA";  // the product that can be programmed at the existing speed

std::string ToolTipOf(const ImageFacts& image) {
  return image.ImageProduct + " " + image.ImageVersion + " " + image.ImageBaudText + "  [" +
         image.ImageProtocol + "]";
}

}  // namespace

std::string Quillon::AnalyseHexFile() {
  image = {.ImageBaudRate = image.ImageBaudRate};
  if (!FileExists(FileName.Text())) {
    desk_.ShowBox("File not Found!", "Quillon", BoxKind::kInformation);
    return "";
  }
  std::string checksum;
  Try([&] { checksum = ChecksumText(AnalyseImage(LineReader::OfFile(FileName.Text()), image)); },
      {.addition = "\rPlease, Check your HEX file !"});
  return checksum;
}

/// The sign beside the checksum: shown while the chosen file contradicts itself, with the first fault in
/// words.
void Quillon::WarnOfFaults() {
  FileWarning.SetVisible(false);
  if (FileCheksum.Text().empty()) return;
  Try([this] {
    const auto fault = FirstHexFault(LineReader::OfFile(FileName.Text()));
    FileWarning.SetToolTip(fault.value_or(""));
    FileWarning.SetVisible(fault.has_value());
  });
}

void Quillon::FileName_Change() {
  if (FileName.Text().empty()) {
    EnableDownloads(false);
    FileCheksum.SetText("");
    FileName.SetToolTip("");
    FileWarning.SetVisible(false);
    useBB.SetValue(CheckBox::kUnticked);
    useBB.SetVisible(false);
    return;
  }
  SetPointer(MousePointer::kHourglass);
  const Finally pointerBack([this] { SetPointer(MousePointer::kDefault); });
  Yield();
  const std::string checksum = AnalyseHexFile();
  FileCheksum.SetText(checksum.size() > kShownDigits ? checksum.substr(checksum.size() - kShownDigits)
                                                     : checksum);
  if (!FileCheksum.Text().empty() && !Protocol.Text().empty()) {
    EnableDownloads(true);
    ComLoad.SetFocus();
  }
  Yield();
  FileName.SetToolTip(ToolTipOf(image));
  WarnOfFaults();
  const bool keepsSpeed = image.ImageProduct == kKeepsSpeed;
  useBB.SetEnabled(keepsSpeed);
  useBB.SetValue(keepsSpeed ? CheckBox::kTicked : CheckBox::kUnticked);
}

}  // namespace quillon
