#include "unattended/operator.h"

#include <QApplication>
#include <QMessageBox>
#include <utility>

#include "forms/quillon.h"
#include "platform/run_error.h"
#include "shell/start_stop.h"
#include "unattended/console.h"

namespace quillon {
namespace {

const QString kMain = "Quillon";
const QString kTable = "Info";
const QString kProgress = "Message";

QString Minutes(double seconds) {
  const int whole = static_cast<int>(seconds + 0.5);
  return QString("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QChar('0'));
}

}  // namespace

RunFacts FactsOf(Job job, const QString& hex, const std::string& folder) {
  RunFacts facts;
  facts.job = job;
  if (!IsDownload(job)) return facts;
  ReadImage(hex.toStdString(), facts);
  facts.downloadSpeed = QString::fromStdString(DownloadSpeed(folder)).toInt();
  return facts;
}

Operator::Operator(Task task, std::string folder, Reporter& reporter)
    : task_(std::move(task)), folder_(std::move(folder)), reporter_(reporter) {}

void Operator::Work() {
  try {
    QApplication::processEvents();
    SetUp();
    if (!CanContinue()) throw Failure(outcome_, "an error before the first step, so no step was run");
    for (const Task::Step& step : task_.steps) {
      CheckInterrupt();
      if (CanContinue()) Run(step);
    }
  } catch (const Failure& failure) {
    Fail(failure.category, failure.what());
  } catch (const std::runtime_error& error) {
    Fail(ErrorCategory::kController, error.what());
  }
  Press(kMain, "Exit");
  if (!reporter_.Finish()) Record(ErrorCategory::kFile);  // "end" reports the exit status
  reporter_.Report("end", outcome_ == ErrorCategory::kNone ? "all went well" : "it did not go well",
                   {{"code", static_cast<int>(outcome_)}});
}

void Operator::SetUp() {
  Tick("Save configuration on exit", false);  // the settings on the disk are not changed
  const auto type = [this](const QString& name, const QString& text) {
    if (!text.isEmpty()) Type(name, text);
  };
  type("Time Out", task_.timeout);
  type("Parallel Waiting Delay", task_.delay);
  type("Protocol", task_.protocol);
  if (!task_.port.isEmpty()) Select("Com Port", "COM " + QString::number(task_.port.toInt()));
  if (!task_.speed.isEmpty()) Select("Speed", task_.speed);
  if (task_.controllers) TickOnly(*task_.controllers);
  if (!task_.hex.isEmpty()) ChooseHex();
}

void Operator::ChooseHex() {
  try {
    ChooseFile(task_.hex);
  } catch (const std::runtime_error& error) {
    throw Failure(ErrorCategory::kFile, error.what());
  }
  if (!refused_.isEmpty()) {
    throw Failure(ErrorCategory::kFile, refused_ + " Get a good copy, or give --force to use it anyway.");
  }
  if (Text(kMain, "File to download") != task_.hex)
    throw Failure(ErrorCategory::kFile,
                  "the file dialog does not choose \"" + task_.hex + "\". Rename the file.");
  const QString fault = ToolTip(kMain, "Warning about the file");
  if (!fault.isEmpty())
    reporter_.Report("warning", "the file contradicts itself: " + fault, {{"text", fault}});
}

void Operator::Run(const Task::Step& step) {
  if (step.controllers) TickOnly(*step.controllers);
  CheckReady(step);
  if (Shows(kTable)) Press(kTable, "Close");  // its rows are those of an earlier step
  Estimate(step);
  Press(kMain, step.button);
  QApplication::processEvents();
  reporter_.ShowProgress("");
  forecast_.reset();
  giveUp_ = false;
  reporter_.Explain("step " + step.words + " is over");
  SaveScreenshot(kMain);
  SaveScreenshot(kTable);
  CheckInterrupt();
  Report(step);
}

void Operator::CheckInterrupt() {
  if (console::Interrupted() && outcome_ != ErrorCategory::kCancelled)
    Fail(ErrorCategory::kCancelled, "cancelled");
}

void Operator::CheckReady(const Task::Step& step) const {
  const auto need = [&](const QString& field, const QString& way) {
    if (!Text(kMain, field).isEmpty()) return;
    throw Failure(ErrorCategory::kUsage,
                  step.words + ": \"" + field + "\" is empty, here and in the settings. Give " + way + ".");
  };
  need("Com Port", "--port");
  need("Speed", "--speed");
  need("Time Out", "--timeout");
  need("Protocol", "--protocol");
  if (step.job == Job::kParallel) need("Parallel Waiting Delay", "--delay");
  if (IsDownload(step.job) && Text(kMain, "File Cheksum").isEmpty())
    throw Failure(ErrorCategory::kFile, step.words + ": the file could not be read. Choose another one.");
  if (!Enabled(kMain, step.button))
    throw Failure(ErrorCategory::kUsage,
                  step.words + ": the button \"" + step.button + "\" can't be pressed.");
  if (step.job != Job::kAuto && TickedControllers().isEmpty())
    throw Failure(ErrorCategory::kController, step.words + ": no controller is ticked. Give --controllers.");
}

void Operator::Estimate(const Task::Step& step) {
  RunFacts facts;
  try {
    facts = FactsOf(step.job, task_.hex, folder_);
  } catch (const RunError&) {
    facts.job = step.job;  // the run itself reports the error in the file
  }
  if (step.job != Job::kAuto) {
    const QList<int> ticked = TickedControllers();
    facts.controllers.assign(ticked.begin(), ticked.end());
  }
  facts.speed = Text(kMain, "Speed").toInt();
  facts.delay = Text(kMain, "Parallel Waiting Delay").toInt() / 1000.0;
  facts.timeOut = Text(kMain, "Time Out").toInt() / 1000.0;
  if (Ticked("Keep the existing baud rate for firmware download (ORVA only)")) facts.downloadSpeed = 0;
  forecast_.emplace(std::move(facts));
  stepWords_ = step.words;
  stepStart_ = reporter_.Seconds();
  reporter_.Report("step", "step " + step.words,
                   {{"step", step.words},
                    {"batches", forecast_->Batches()},
                    {"controllers", forecast_->Controllers()},
                    {"seconds", Rounded(forecast_->SecondsLeft(0))}});
}

void Operator::TickOnly(const QList<int>& controllers) {
  for (int i = 0; i < kControllers; ++i) Tick(ControllerName(i), controllers.contains(i));
}

QList<int> Operator::TickedControllers() const {
  QList<int> ticked;
  for (int i = 0; i < kControllers; ++i) {
    if (Ticked(ControllerName(i))) ticked.push_back(i);
  }
  return ticked;
}

void Operator::OnBox(QMessageBox& box) {
  const QString text = box.text().replace('\n', " / ");
  reporter_.Report("box", "box \"" + box.windowTitle() + "\": " + text,
                   {{"number", BoxNumber(box.text())}, {"title", box.windowTitle()}, {"text", text}});
  SaveScreenshot(box, "box");
  Record(BoxCategory(box.text()));
  if (BoxNumber(box.text()) == RunError::kDeviceFailed) giveUp_ = true;
}

/// The tool asks one question: whether to use a file that contradicts itself.
bool Operator::OnQuestion(QMessageBox& box) {
  if (!task_.force) refused_ = box.text().section(" Use it", 0, 0);
  return task_.force;
}

void Operator::OnStatus(const QString& line) {
  statusChanged_ = true;
  QJsonObject facts;
  if (forecast_) {
    forecast_->See(line, reporter_.Seconds());
    facts = {{"batchesDone", forecast_->BatchesDone()},
             {"controllersDone", forecast_->ControllersDone()},
             {"secondsLeft", Rounded(forecast_->SecondsLeft(reporter_.Seconds()))}};
  }
  reporter_.ReportStatus(line, facts);
  ShowProgress();
}

/// The run checks a pressed Cancel only now and then, and each part of a run opens the progress window again:
/// so Cancel is pressed as long as the window shows. Pressing it again has no effect.
void Operator::OnLook() {
  if (std::exchange(statusChanged_, false)) SaveScreenshot(kProgress);
  ShowProgress();
  if ((giveUp_ || console::Interrupted()) && Shows(kProgress)) Press(kProgress, "Cancel");
}

void Operator::ShowProgress() {
  if (!forecast_) return;
  const double now = reporter_.Seconds();
  QString line = stepWords_.section(':', 0, 0);
  if (forecast_->Batches() != 0)
    line += QString(": batch %1/%2").arg(forecast_->BatchesDone()).arg(forecast_->Batches());
  if (forecast_->Controllers() != 0) {
    line += QString(", controller %1/%2").arg(forecast_->ControllersDone()).arg(forecast_->Controllers());
  }
  line += ", " + Minutes(now - stepStart_) + " passed";
  if (forecast_->Controllers() != 0) line += ", " + Minutes(forecast_->SecondsLeft(now)) + " left";
  reporter_.ShowProgress(line + ": " + Status().simplified());
}

void Operator::Report(const Task::Step& step) {
  const QList<int> ticked = TickedControllers();
  if (step.job == Job::kAuto) {
    if (!CanContinue()) return;  // the boxes of controllers that were not asked keep their ticks
    for (const int number : ticked) ReportController(number, {}, {ErrorCategory::kNone, "found", ""});
    if (ticked.isEmpty()) Fail(ErrorCategory::kController, "nobody answered");
    return;
  }
  const QString checksum = Window(kTable) != nullptr ? Text(kTable, "File Cheksum") : "";
  for (const int number : ticked) {
    const Row row = Window(kTable) != nullptr ? RowOf(number) : Row{};
    ReportController(number, row, JudgeRow(row, checksum, step.job));
  }
}

void Operator::ReportController(int number, const Row& row, const Verdict& verdict) {
  const bool good = verdict.category == ErrorCategory::kNone;
  reporter_.Report("controller",
                   QString("%1  %2 | %3 | %4")
                       .arg(ControllerName(number), row.version, row.checksum, good ? "good" : "BAD"),
                   {{"number", number},
                    {"version", row.version},
                    {"checksum", row.checksum},
                    {"verdict", verdict.word},
                    {"advice", verdict.advice}});
  if (!good) reporter_.Explain(verdict.word + ": " + verdict.advice);
  Record(verdict.category);
}

void Operator::Fail(ErrorCategory category, const QString& reason) {
  reporter_.Report("failure", "FAILED: " + reason, {{"text", reason}});
  Record(category);
}

void Operator::SaveScreenshot(const QString& window) {
  if (Shows(window)) SaveScreenshot(*Window(window), window.toLower());
}

void Operator::SaveScreenshot(QWidget& window, const QString& name) {
  if (task_.pictures.isEmpty()) return;
  const QString path = task_.pictures + "/" + name + ".png";
  if (!window.grab().save(path)) Fail(ErrorCategory::kFile, "can't write " + path);
}

}  // namespace quillon
