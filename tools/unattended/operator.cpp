// Operates the windows of Quillon in place of a person. A task is run in this order:
//
//     SetUp        fills the fields and chooses the file
//     Run          for each step: ticks the controllers, presses the button, reports each controller
//     Press Exit   also after an error, because the window then completes the log
//
// While a button is pressed, the run takes place inside that call and handles window events. The functions
// On... are called meanwhile: they report progress, answer boxes, and press Cancel after an interrupt.
#include "unattended/operator.h"

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <utility>

#include "desktop/deferred_paint.h"
#include "forms/quillon.h"
#include "platform/run_error.h"
#include "platform/text_file.h"
#include "results/gap.h"
#include "shell/start_stop.h"
#include "unattended/console.h"

namespace quillon {
namespace {

const QString kMain = "Quillon";
const QString kTable = "Info";
const QString kProgress = "Message";

/// "3:05" for 185 seconds.
QString Minutes(double seconds) {
  const int rounded = static_cast<int>(seconds + 0.5);
  return QString("%1:%2").arg(rounded / 60).arg(rounded % 60, 2, 10, QChar('0'));
}

}  // namespace

Operator::Operator(Task task, std::string folder, OutputFormatter& output)
    : task_(std::move(task)), folder_(std::move(folder)), output_(output) {}

void Operator::RunTask() {
  try {
    QApplication::processEvents();
    SetUp();
    if (!CanContinue()) throw Failure(outcome_, "an error before the first step, so no step was run");
    RunSteps();
  } catch (const Failure& failure) {
    Fail(failure.category, failure.what());
  } catch (const std::runtime_error& error) {
    Fail(ErrorCategory::kController, error.what());
  }
  Press(kMain, "Exit");
}

void Operator::ReportEnd() {
  if (!output_.Finish()) Record(ErrorCategory::kFile);  // before the exit status is reported
  output_.Report("end", Outcome() == ErrorCategory::kNone ? "all went well" : "it did not go well",
                 {{"code", static_cast<int>(Outcome())}});
}

void Operator::RunSteps() {
  if (task_.resume) return RunResume(*task_.resume);
  for (const Task::Step& step : task_.steps) {
    CheckInterrupt();
    if (CanContinue()) Run(step);
  }
}

void Operator::RunResume(Resume& resume) {
  const QJsonObject settings = resume.Record().job["settings"].toObject();
  const QString keepSpeed = "Keep the existing baud rate for firmware download (ORVA only)";
  Tick("Prot 3", settings["prot3"].toBool());
  if (Enabled(kMain, keepSpeed)) Tick(keepSpeed, settings["keepSpeed"].toBool());
  // A step either reads controllers or loads them. What it read decides the steps after it.
  while (const auto next = resume.Next()) {
    CheckInterrupt();
    if (!CanContinue()) return;
    Type("Protocol", next->protocol);
    Task::Step step = StepNamed(next->load ? resume.Record().Kind() : "flash-info");
    step.controllers.emplace(next->controllers.begin(), next->controllers.end());
    Run(step);
    if (next->load) continue;
    for (const int number : next->controllers) resume.SetReading(number, results_.EvidenceOf(number));
  }
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

/// Chooses the firmware file. If the file contradicts itself, the window asks whether to use it, and
/// OnQuestion answers during ChooseFile.
void Operator::ChooseHex() {
  try {
    ChooseFile(task_.hex);
  } catch (const std::runtime_error& error) {
    throw Failure(ErrorCategory::kFile, error.what());
  }
  // The window does not ask about a file that it can't read at that moment. Then its warning is used.
  const QString fault = ToolTip(kMain, "Warning about the file");
  if (refused_.isEmpty() && !fault.isEmpty() && !task_.force)
    refused_ = task_.hex + " is damaged: " + fault + ".";
  if (!refused_.isEmpty()) {
    throw Failure(ErrorCategory::kFile, refused_ + " Get a good copy, or give --force to use it anyway.");
  }
  if (Text(kMain, "File to download") != task_.hex)
    throw Failure(ErrorCategory::kFile,
                  "the file dialog does not choose \"" + task_.hex + "\". Rename the file.");
  if (!fault.isEmpty()) output_.Report("warning", "the file contradicts itself: " + fault, {{"text", fault}});
}

void Operator::Run(const Task::Step& step) {
  if (step.controllers) TickOnly(*step.controllers);
  if (step.failedOnly) {
    const QList<int> failed = FailedControllers();
    if (failed.isEmpty()) {
      const QString reason = "step " + step.text + " is skipped: no controller has failed";
      return output_.Report("skipped", reason, {{"step", step.text}, {"text", reason}});
    }
    TickOnly(failed);
  }
  CheckReady(step);
  if (Shows(kTable)) Press(kTable, "Close");  // its rows are those of an earlier step
  PressButton(step);
  SaveScreenshot(kMain);
  SaveScreenshot(kTable);
  CheckInterrupt();
  Report(step);
}

/// Presses the button of a step. Returns when its run has ended.
void Operator::PressButton(const Task::Step& step) {
  stepText_ = step.text;
  Press(kMain, step.button);
  QApplication::processEvents();
  output_.ShowProgress("");
  estimate_.reset();
  giveUp_ = false;
  output_.Explain("step " + step.text + " is over");
}

QList<int> Operator::FailedControllers() const {
  QList<int> failed;
  for (const auto& [number, good] : good_) {
    if (!good) failed.push_back(number);
  }
  return failed;
}

ErrorCategory Operator::Outcome() const {
  return FailedControllers().isEmpty() ? outcome_ : Worse(outcome_, ErrorCategory::kController);
}

void Operator::CheckInterrupt() {
  if (console::Interrupted() && outcome_ != ErrorCategory::kCancelled)
    Fail(ErrorCategory::kCancelled, "cancelled");
}

void Operator::CheckReady(const Task::Step& step) const {
  const auto require = [&](const QString& field, const QString& option) {
    if (!Text(kMain, field).isEmpty()) return;
    throw Failure(ErrorCategory::kUsage,
                  step.text + ": \"" + field + "\" is empty, here and in the settings. Give " + option + ".");
  };
  require("Com Port", "--port");
  require("Speed", "--speed");
  require("Time Out", "--timeout");
  require("Protocol", "--protocol");
  if (step.kind == RunKind::kParallel) require("Parallel Waiting Delay", "--delay");
  if (IsDownload(step.kind) && Text(kMain, "File Cheksum").isEmpty())
    throw Failure(ErrorCategory::kFile, step.text + ": the file could not be read. Choose another one.");
  if (!Enabled(kMain, step.button))
    throw Failure(ErrorCategory::kUsage,
                  step.text + ": the button \"" + step.button + "\" can't be pressed.");
  if (step.kind != RunKind::kAuto && TickedControllers().isEmpty())
    throw Failure(ErrorCategory::kController, step.text + ": no controller is ticked. Give --controllers.");
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

void Operator::OnRunEvent(const RunEvent& event) {
  results_.OnRunEvent(event);
  if (estimate_) estimate_->Follow(event, output_.Seconds());
  std::visit([this](const auto& what) { On(what); }, event.what);
}

/// The tool asks one question: whether to use a file that contradicts itself.
bool Operator::OnQuestion(QMessageBox& box) {
  if (!task_.force) refused_ = box.text().section(" Use it", 0, 0);
  return task_.force;
}

void Operator::On(const RunStarted& event) {
  RunFacts facts = FactsOf(event, DownloadSpeed(folder_));
  sums_.reset();
  try {
    if (!event.file.empty()) sums_.emplace(ReadFile(event.file));
    if (IsDownload(event.kind)) ReadImage(event.file, facts);
  } catch (const RunError&) {
    // The run itself reports the error in the file.
  }
  estimate_.emplace(std::move(facts));
  stepStart_ = output_.Seconds();
  status_.clear();
  output_.Report("step", "step " + stepText_,
                 {{"step", stepText_},
                  {"batches", estimate_->Batches()},
                  {"controllers", estimate_->Controllers()},
                  {"seconds", Rounded(estimate_->SecondsLeft(0))}});
}

void Operator::On(const StatusShown& event) {
  const QString line = QString::fromStdString(event.text);
  if (line == std::exchange(status_, line)) return;
  statusChanged_ = true;
  QJsonObject facts;
  if (estimate_) {
    facts = {{"batchesDone", estimate_->BatchesDone()},
             {"controllersDone", estimate_->ControllersDone()},
             {"secondsLeft", Rounded(estimate_->SecondsLeft(output_.Seconds()))}};
  }
  output_.ReportStatus(line, facts);
  ShowProgress();
}

void Operator::OnBox(QMessageBox& box) {
  const int number = std::exchange(failureNumber_, 0);
  const QString text = box.text().replace('\n', " / ");
  output_.Report("box", "box \"" + box.windowTitle() + "\": " + text,
                 {{"number", number}, {"title", box.windowTitle()}, {"text", text}});
  SaveScreenshot(box, "box");
  Record(BoxCategory(number, box.text()));
  if (number == RunError::kDeviceFailed) giveUp_ = true;
}

/// The run checks a pressed Cancel only now and then, and each part of a run opens the progress window again:
/// so Cancel is pressed as long as the window shows. Pressing it again has no effect.
void Operator::OnLook() {
  // A status line is painted some milliseconds later than the symbol beside it.
  if (!deferred_paint::IsPending() && std::exchange(statusChanged_, false)) SaveScreenshot(kProgress);
  ShowProgress();
  if ((giveUp_ || console::Interrupted()) && Shows(kProgress)) Press(kProgress, "Cancel");
}

void Operator::ShowProgress() {
  if (!estimate_) return;
  const double now = output_.Seconds();
  QString line = stepText_.section(':', 0, 0);
  if (estimate_->Batches() != 0)
    line += QString(": batch %1/%2").arg(estimate_->BatchesDone()).arg(estimate_->Batches());
  if (estimate_->Controllers() != 0) {
    line += QString(", controller %1/%2").arg(estimate_->ControllersDone()).arg(estimate_->Controllers());
  }
  line += ", " + Minutes(now - stepStart_) + " passed";
  if (estimate_->Controllers() != 0) line += ", " + Minutes(estimate_->SecondsLeft(now)) + " left";
  output_.ShowProgress(line + ": " + status_.simplified());
}

void Operator::Report(const Task::Step& step) {
  const bool detection = step.kind == RunKind::kAuto;
  if (detection && !CanContinue()) return;  // the run ended before it asked all controllers
  const std::vector<int> controllers = results_.Controllers();
  std::vector<MissingBatches> gaps;
  for (const int number : controllers) gaps.push_back(ReportController(number));
  const QString common = QString::fromStdString(SuggestCause(gaps));
  if (!common.isEmpty()) output_.Report("gaps", common, {{"text", common}});
  if (detection && controllers.empty()) Fail(ErrorCategory::kController, "no controller answered");
}

MissingBatches Operator::ReportController(int number) {
  const Evidence evidence = results_.EvidenceOf(number);
  const MissingBatches missing = sums_ ? GapOf(evidence, *sums_) : MissingBatches{};
  const std::string gap = DescribeMissing(missing, QFileInfo(task_.hex).fileName().toStdString());
  const Verdict verdict = results_.VerdictOf(number);
  const QString version = QString::fromStdString(evidence.rowVersion);
  const QString checksum = QString::fromStdString(evidence.rowChecksum);
  const QString word = QString::fromStdString(verdict.word);
  const QString reason = QString::fromStdString(verdict.reason);
  const QString advice = QString::fromStdString(verdict.advice);
  output_.Report(
      "controller",
      QString("%1  %2 | %3 | %4").arg(ControllerName(number), version, checksum, verdict.good ? word : "BAD"),
      {{"number", number},
       {"version", version},
       {"checksum", checksum},
       {"verdict", word},
       {"evidence", QString::fromStdString(verdict.evidence)},
       {"reason", reason},
       {"gap", QString::fromStdString(gap)},
       {"advice", advice}});
  if (!advice.isEmpty() || !evidence.fileFault.empty())
    output_.Explain(QString::fromStdString(Describe(verdict, gap)));
  good_[number] = verdict.good;
  return missing;
}

void Operator::Fail(ErrorCategory category, const QString& reason) {
  output_.Report("failure", "FAILED: " + reason, {{"text", reason}});
  Record(category);
}

void Operator::SaveScreenshot(const QString& window) {
  if (Shows(window)) SaveScreenshot(*Window(window), window.toLower());
}

void Operator::SaveScreenshot(QWidget& window, const QString& name) {
  if (task_.pictures.isEmpty()) return;
  const QString path = task_.pictures + "/" + name + ".png";
  if (!window.grab().save(path)) Fail(ErrorCategory::kFile, path + " can't be written");
}

}  // namespace quillon
