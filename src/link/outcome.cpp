// Shows the result of an exchange twice: in the progress window `Message` during the run, and in the
// controller's row of the table window `Info`, where it can be read after the run.
//
//     status line   "Controller 5 : No Answer   (Speed : 9600 Bds) ", for two seconds
//     row           Ver(5) "No", CkSum(5) "Answer", red and bold
//
// `Label1` is the status line of `Message`, `Inquiet` and `Stop` are its pictures for work and failure.
// `Ver(n)` and `CkSum(n)` are the fields for version and checksum of controller n. `Vitesse` is the speed.
// Operators and scripts depend on these texts: they must not change.
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

void PaintRow(Quillon& form, int controller, int foreColor, bool bold) {
  for (TextBox* box : {&form.info.Ver(controller), &form.info.CkSum(controller)}) {
    box->SetForeColor(foreColor);
    box->SetFontBold(bold);
  }
}

}  // namespace

std::string ControllerText(int controller) { return "Controller " + std::to_string(controller); }

void ReportFailure(Quillon& form, int controller, FailureCode code) {
  if (code == FailureCode::kNone) {
    ClearRow(form, controller);
    return;
  }
  const auto index = static_cast<std::size_t>(code) - 1;  // kNone has no text
  if (index >= std::size(kFailureTexts)) return;
  const FailureText& text = kFailureTexts[index];
  ShowProgressPaused(form, ControllerText(controller) + text.status);
  PaintRow(form, controller, colour::kRed, true);
  FillRow(form, controller, RowContent::kFailure, text.version, text.checksum);
}

// Only the colours: the texts of an earlier failure remain until the row is cleared or filled.
void MarkController(Quillon& form, int controller) { PaintRow(form, controller, colour::kBlack, false); }

void ClearRow(Quillon& form, int controller) {
  MarkController(form, controller);
  FillRow(form, controller, RowContent::kNothing, "", "");
}

void FillRow(Quillon& form, int controller, RowContent content, const std::string& version,
             const std::string& checksum) {
  form.info.Ver(controller).SetText(version);
  form.info.CkSum(controller).SetText(checksum);
  form.Report(RowFilled{controller, content, version, checksum});
}

void ShowProgress(Quillon& form, const std::string& text, StatusForm statusForm) {
  const std::string speed =
      statusForm == StatusForm::kBrief ? "" : " (Speed : " + form.Vitesse.Text() + " Bds)";
  ShowStatus(form, form.message.Inquiet, text + speed + " ...");
}

void ShowProgressPaused(Quillon& form, const std::string& text) {
  ShowStatus(form, form.message.Stop, text + "   (Speed : " + form.Vitesse.Text() + " Bds) ");
  const double end = form.clock.Now() + kFailurePause;
  while (form.clock.Now() < end) form.run.YieldUntil(end);  // an event ends the wait early
}

void ShowStatus(Quillon& form, const Picture& picture, const std::string& line) {
  form.message.ShowPicture(picture);
  form.message.Label1.SetText(line);
  form.message.Show();
  form.Report(StatusShown{line, &picture == &form.message.Stop});
}

}  // namespace quillon
