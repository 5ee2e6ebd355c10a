#include "commands/flash_check.h"

#include <string>

#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::uint8_t kFlashCheck = 0x73;

// An answer has one of two lengths; the longer one has one byte more ahead of the version.
constexpr std::size_t kShortForm = 26;  // hex digits
constexpr std::size_t kLongForm = 28;
constexpr std::size_t kShortFormVersion = 5;  // byte at which the version begins
constexpr std::size_t kLongFormVersion = 6;

}  // namespace

Bytes FlashCheckFrame(std::uint8_t protocol, int y) {
  return CloseFrame({protocol, static_cast<std::uint8_t>(y), 1, kFlashCheck});
}

bool Quillon::FlashCheck(int& y) {
  const bool checked = ReadFlash(y);
  const std::string& fileChecksum = info.FileCheksum.Text();
  if (checked && !fileChecksum.empty() && fileChecksum != info.CkSum(y).Text()) {
    desk_.Beep();
    info.CkSum(y).SetBackColor(colour::kRed);
    info.CkSum(y).SetForeColor(colour::kWhite);
    info.CkSum(y).SetFontBold(true);
  }
  message.Unload();
  return checked;
}

/// Asks until an answer of a known length fills the row of `y`; an exchange that fails, or Cancel, ends it.
bool Quillon::ReadFlash(int y) {
  for (;;) {
    FrameBuffer = FlashCheckFrame(ProtocolByteOrBox(), y);
    ShowProgress(ControllerText(y) + " : Checking Flash ", false);
    LogMessage("Message : $73  - Checking Flash");
    int result = kNoAnswer;  // which a run-time failure of the exchange counts as
    Try([&] { result = SendFrame(FrameBuffer, AnswerText, false); });
    ReportFailure(y, result);
    if (result != kAnswered) return false;
    const bool longForm = AnswerText.size() == kLongForm;
    if (longForm || AnswerText.size() == kShortForm) {
      FillRow(y, longForm ? kLongFormVersion : kShortFormVersion);
      return true;
    }
  }
}

/// Version and checksum of an answer into the row of `y`: three bytes and two, as they stand.
void Quillon::FillRow(int y, std::size_t versionByte) {
  const auto byte = [&](std::size_t n) { return AnswerByte(AnswerText, versionByte + n); };
  info.Ver(y).SetText(byte(0) + "/" + byte(1) + "/" + byte(2));
  info.CkSum(y).SetText(byte(3) + byte(4));
}

}  // namespace quillon
