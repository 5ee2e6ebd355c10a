#include "link/outcome.h"

#include <iterator>
#include <string>

#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr double kFailurePause = 2.0;  // seconds that the operator has to read a failure

struct Wording {
  const char* status;
  const char* version;
  const char* checksum;
};

/// By failure code, from 1.
constexpr Wording kWordings[] = {
    {" : No Answer", "No", "Answer"},
    {" : Communication Error", "Communication", "ERROR"},
    {" : Communication Failure", "communication", "Failure"},
    {" : Erasing Failure", "Erasing", "Failure"},
};
constexpr int kLastCode = static_cast<int>(std::size(kWordings));

}  // namespace

std::string ExchangeResultText(int code) {
  switch (code) {
    case kAnswered:
      return "Communication OK  - CRC checked";
    case kNoAnswer:
      return "No Answer";
    case kBadAnswer:
      return "Communication Error - CRC false 3 time";
    case kRefused:
      return "Communication Failure - 3 * E1";
    default:
      return "";
  }
}

std::string ControllerText(int y) { return "Controller " + std::to_string(y); }

void Quillon::ReportFailure(int y, int code) {
  if (code < kAnswered || code > kLastCode) return;
  if (code == kAnswered) {
    ClearRow(y);
    return;
  }
  const Wording& wording = kWordings[code - 1];
  ShowProgressPaused(ControllerText(y) + wording.status);
  PaintRow(y, colour::kRed, true);
  info.Ver(y).SetText(wording.version);
  info.CkSum(y).SetText(wording.checksum);
}

void Quillon::MarkController(int y) { PaintRow(y, colour::kBlack, false); }

void Quillon::PaintRow(int y, int foreColor, bool bold) {
  for (TextBox* box : {&info.Ver(y), &info.CkSum(y)}) {
    box->SetForeColor(foreColor);
    box->SetFontBold(bold);
  }
}

void Quillon::ClearRow(int y) {
  MarkController(y);
  info.Ver(y).SetText("");
  info.CkSum(y).SetText("");
}

void Quillon::ShowProgress(const std::string& text, bool brief) {
  ShowStatus(message.Inquiet, brief ? text + " ..." : text + " (Speed : " + Vitesse.Text() + " Bds) ...");
}

void Quillon::ShowProgressPaused(const std::string& text) {
  ShowStatus(message.Stop, text + "   (Speed : " + Vitesse.Text() + " Bds) ");
  const double end = clock_.Now() + kFailurePause;
  while (clock_.Now() < end) YieldUntil(end);
}

void Quillon::ShowStatus(const Picture& picture, const std::string& line) {
  message.ShowPicture(picture);
  message.Label1.SetText(line);
  message.Show();
}

bool Quillon::Try(const std::function<void()>& step, const BoxWording& wording) {
  try {
    step();
    return true;
  } catch (const RunError& error) {
    // A number is written with a blank in the place of its sign.
    desk_.ShowBox("Error #  " + std::to_string(error.number) + "\r" + error.description + wording.addition,
                  wording.title);
  }
  // Cancel works between the boxes of a run that goes on. A box of any other click does not yield: a second
  // choice of a file must not run inside the first.
  if (runUnderWay_ && yieldDepth_ == runYieldDepth_) Yield();
  return false;
}

void Quillon::Log(const std::string& line) {
  Try([&] { log_.WriteLine(line); });
}

}  // namespace quillon
