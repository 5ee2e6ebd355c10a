// The message $73: what do you hold? Its answer has one of two forms, known by their length:
//
//     byte    0  1  2  3  4  5  6  7  8  9 10 11 12 13
//     short  pp yy 07 .. .. V1 V2 V3 S1 S2 CC CC 04
//     long   pp yy 08 .. .. .. V1 V2 V3 S1 S2 CC CC 04
//
// V1 to V3 are the version, shown as "02/10/31"; S1 and S2 the last 16 bits of the sum of all flash bytes,
// shown as "58C3"; CC the CRC. An answer of any other length, though its CRC is right, belongs to another
// question: this one is then asked again.
#include <string>

#include "commands/frames.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::size_t kShortForm = 26;  // hex digits
constexpr std::size_t kLongForm = 28;
constexpr std::size_t kShortFormVersion = 5;  // byte at which the version begins
constexpr std::size_t kLongFormVersion = 6;

}  // namespace

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
    ShowProgress(ControllerText(y) + " : Checking Flash ", StatusForm::kWithSpeed);
    LogFrame("Message : $73  - Checking Flash", FrameBuffer);
    ExchangeResult result = ExchangeResult::kNoAnswer;  // which a run-time failure of the exchange counts as
    Try([&] { result = SendFrame(FrameBuffer, AnswerText, ShortAnswer::kIsBad); });
    ReportFailure(y, FailureOf(result));
    if (result != ExchangeResult::kAnswered) return false;
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
