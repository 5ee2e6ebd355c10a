// Shows results: in the progress window `Message` (`Label1` is its status line, `Inquiet` and `Stop` are its
// pictures for work and failure), and in the row of the controller (`Ver(y)` version, `CkSum(y)` checksum).
// Operators and scripts know these texts: they must not change. `Vitesse` is the speed.
#include "link/outcome.h"

#include <iterator>

namespace quillon {
namespace {

struct FailureText {
  const char* status;  // after the name of the controller
  const char* version;
  const char* checksum;
};

/// In the order of FailureCode, without kNone.
constexpr FailureText kFailureTexts[] = {
    {" : No Answer", "No", "Answer"},
    {" : Communication Error", "Communication", "ERROR"},
    {" : Communication Failure", "communication", "Failure"},
    {" : Erasing Failure", "Erasing", "Failure"},
};

void PaintRow(Quillon& form, int y, int foreColor, bool bold) {
  for (TextBox* box : {&form.info.Ver(y), &form.info.CkSum(y)}) {
    box->SetForeColor(foreColor);
    box->SetFontBold(bold);
  }
}

}  // namespace

std::string ControllerText(int y) { return "Controller " + std::to_string(y); }

void ReportFailure(Quillon& form, int y, FailureCode code) {
  if (code == FailureCode::kNone) {
    ClearRow(form, y);
    return;
  }
  const auto index = static_cast<std::size_t>(code) - 1;
  if (index >= std::size(kFailureTexts)) return;
  const FailureText& text = kFailureTexts[index];
  ShowProgressPaused(form, ControllerText(y) + text.status);
  PaintRow(form, y, colour::kRed, true);
  FillRow(form, y, RowContent::kFailure, text.version, text.checksum);
}

void MarkController(Quillon& form, int y) { PaintRow(form, y, colour::kBlack, false); }

void ClearRow(Quillon& form, int y) {
  MarkController(form, y);
  FillRow(form, y, RowContent::kNothing, "", "");
}

void FillRow(Quillon& form, int y, RowContent content, const std::string& version,
             const std::string& checksum) {
  form.info.Ver(y).SetText(version);
  form.info.CkSum(y).SetText(checksum);
  form.Report(RowFilled{y, content, version, checksum});
}

void ShowProgress(Quillon& form, const std::string& text, StatusForm statusForm) {
  const std::string speed =
      statusForm == StatusForm::kBrief ? "" : " (Speed : " + form.Vitesse.Text() + " Bds)";
  ShowStatus(form, form.message.Inquiet, text + speed + " ...");
}

void ShowProgressPaused(Quillon& form, const std::string& text) {
  ShowStatus(form, form.message.Stop, text + "   (Speed : " + form.Vitesse.Text() + " Bds) ");
  const double end = form.clock.Now() + kFailurePause;
  while (form.clock.Now() < end) form.run.YieldUntil(end);
}

void ShowStatus(Quillon& form, const Picture& picture, const std::string& line) {
  form.message.ShowPicture(picture);
  form.message.Label1.SetText(line);
  form.message.Show();
  form.Report(StatusShown{line, &picture == &form.message.Stop});
}

}  // namespace quillon
