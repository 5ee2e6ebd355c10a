// What became of an exchange, in two places: `Message` shows it while the run goes on, and holds a failure
// for two seconds so that nobody misses it; the controller's row in `Info` keeps it after the run.
#include "link/outcome.h"

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

}  // namespace

std::string ControllerText(int y) { return "Controller " + std::to_string(y); }

void Quillon::ReportFailure(int y, FailureCode code) {
  if (code == FailureCode::kNone) {
    ClearRow(y);
    return;
  }
  const Wording& wording = kWordings[static_cast<int>(code) - 1];
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

void Quillon::ShowProgress(const std::string& text, StatusForm form) {
  const std::string speed = form == StatusForm::kBrief ? "" : " (Speed : " + Vitesse.Text() + " Bds)";
  ShowStatus(message.Inquiet, text + speed + " ...");
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

}  // namespace quillon
