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

Operator::Operator(Task task, std::string folder)
    : task_(std::move(task)),
      folder_(std::move(folder)),
      teller_(task_.json ? Teller::Form::kJson : Teller::Form::kText) {}

void Operator::Work() {
  try {
    QApplication::processEvents();
    SetUp();
    if (!MayGoOn()) throw Failure(trouble_, "trouble before the first step, so none was taken");
    for (const Task::Step& step : task_.steps) {
      HearInterrupt();
      if (MayGoOn()) Run(step);
    }
  } catch (const Failure& failure) {
    Fail(failure.trouble, failure.what());
  } catch (const std::runtime_error& error) {
    Fail(Trouble::kController, error.what());
  }
  Press(kMain, "Exit");
  if (!teller_.Whole()) Note(Trouble::kFile);
  teller_.Tell("end", trouble_ == Trouble::kNone ? "all went well" : "it did not go well",
               {{"code", static_cast<int>(trouble_)}});
  if (!teller_.Whole()) Note(Trouble::kFile);
}

void Operator::SetUp() {
  Tick("Save configuration on exit", false);  // a trial leaves the settings as they are
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
    throw Failure(Trouble::kFile, error.what());
  }
  if (Text(kMain, "File to download") != task_.hex)
    throw Failure(Trouble::kFile, "the file dialog does not choose \"" + task_.hex + "\". Rename the file.");
  const QString fault = ToolTip(kMain, "Warning about the file");
  if (fault.isEmpty()) return;
  if (!task_.force) {
    throw Failure(Trouble::kFile, "\"" + task_.hex + "\" contradicts itself: " + fault +
                                      ". Get a good copy, or give --force to take it all the same.");
  }
  teller_.Tell("warning", "the file contradicts itself: " + fault, {{"text", fault}});
}

void Operator::Run(const Task::Step& step) {
  if (step.controllers) TickOnly(*step.controllers);
  CheckReady(step);
  if (Shows(kTable)) Press(kTable, "Close");  // its rows would be taken for those of this step
  Foretell(step);
  Press(kMain, step.button);
  QApplication::processEvents();
  teller_.ShowProgress("");
  forecast_.reset();
  giveUp_ = false;
  teller_.Explain("step " + step.words + " is over");
  KeepPicture(kMain);
  KeepPicture(kTable);
  HearInterrupt();
  Report(step);
}

void Operator::HearInterrupt() {
  if (console::Interrupted() && trouble_ != Trouble::kCancelled) Fail(Trouble::kCancelled, "cancelled");
}

void Operator::CheckReady(const Task::Step& step) const {
  const auto need = [&](const QString& field, const QString& way) {
    if (!Text(kMain, field).isEmpty()) return;
    throw Failure(Trouble::kUsage,
                  step.words + ": \"" + field + "\" is empty, here and in the settings. Give " + way + ".");
  };
  need("Com Port", "--port");
  need("Speed", "--speed");
  need("Time Out", "--timeout");
  need("Protocol", "--protocol");
  if (step.job == Job::kParallel) need("Parallel Waiting Delay", "--delay");
  if (IsDownload(step.job) && Text(kMain, "File Cheksum").isEmpty())
    throw Failure(Trouble::kFile, step.words + ": the file could not be read. Choose another one.");
  if (!Enabled(kMain, step.button))
    throw Failure(Trouble::kUsage, step.words + ": the button \"" + step.button + "\" can't be pressed.");
  if (step.job != Job::kAuto && TickedOnes().isEmpty())
    throw Failure(Trouble::kController, step.words + ": no controller is ticked. Give --controllers.");
}

void Operator::Foretell(const Task::Step& step) {
  RunFacts facts;
  try {
    facts = FactsOf(step.job, task_.hex, folder_);
  } catch (const RunError&) {
    facts.job = step.job;  // the run itself will tell what is wrong with the file
  }
  if (step.job != Job::kAuto) {
    const QList<int> ticked = TickedOnes();
    facts.controllers.assign(ticked.begin(), ticked.end());
  }
  facts.speed = Text(kMain, "Speed").toInt();
  facts.delay = Text(kMain, "Parallel Waiting Delay").toInt() / 1000.0;
  facts.timeOut = Text(kMain, "Time Out").toInt() / 1000.0;
  if (Ticked("Keep the existing baud rate for firmware download (ORVA only)")) facts.downloadSpeed = 0;
  forecast_.emplace(std::move(facts));
  stepWords_ = step.words;
  stepBegan_ = teller_.Seconds();
  teller_.Tell("step", "step " + step.words,
               {{"step", step.words},
                {"batches", forecast_->Batches()},
                {"controllers", forecast_->Controllers()},
                {"seconds", Rounded(forecast_->SecondsLeft(0))}});
}

void Operator::TickOnly(const QList<int>& controllers) {
  for (int i = 0; i < kControllers; ++i) Tick(ControllerName(i), controllers.contains(i));
}

QList<int> Operator::TickedOnes() const {
  QList<int> ticked;
  for (int i = 0; i < kControllers; ++i) {
    if (Ticked(ControllerName(i))) ticked.push_back(i);
  }
  return ticked;
}

void Operator::OnBox(QMessageBox& box) {
  const QString text = box.text().replace('\n', " / ");
  teller_.Tell("box", "box \"" + box.windowTitle() + "\": " + text,
               {{"number", BoxNumber(box.text())}, {"title", box.windowTitle()}, {"text", text}});
  KeepPicture(box, "box");
  Note(BoxTrouble(box.text()));
  if (BoxNumber(box.text()) == RunError::kDeviceFailed) giveUp_ = true;
}

void Operator::OnStatus(const QString& line) {
  newLine_ = true;
  QJsonObject facts;
  if (forecast_) {
    forecast_->See(line, teller_.Seconds());
    facts = {{"batchesDone", forecast_->BatchesDone()},
             {"controllersDone", forecast_->ControllersDone()},
             {"secondsLeft", Rounded(forecast_->SecondsLeft(teller_.Seconds()))}};
  }
  teller_.TellStatus(line, facts);
  ShowProgress();
}

/// A pressed Cancel stands until the run looks at it, but each part of a run opens the window anew: pressing
/// again does no harm.
void Operator::OnLook() {
  if (std::exchange(newLine_, false)) KeepPicture(kProgress);
  ShowProgress();
  if ((giveUp_ || console::Interrupted()) && Shows(kProgress)) Press(kProgress, "Cancel");
}

void Operator::ShowProgress() {
  if (!forecast_) return;
  const double now = teller_.Seconds();
  QString line = stepWords_.section(':', 0, 0);
  if (forecast_->Batches() != 0)
    line += QString(": batch %1/%2").arg(forecast_->BatchesDone()).arg(forecast_->Batches());
  if (forecast_->Controllers() != 0) {
    line += QString(", controller %1/%2").arg(forecast_->ControllersDone()).arg(forecast_->Controllers());
  }
  line += ", " + Minutes(now - stepBegan_) + " passed";
  if (forecast_->Controllers() != 0) line += ", " + Minutes(forecast_->SecondsLeft(now)) + " left";
  teller_.ShowProgress(line + ": " + Status().simplified());
}

void Operator::Report(const Task::Step& step) {
  const QList<int> ticked = TickedOnes();
  if (step.job == Job::kAuto) {
    if (!MayGoOn()) return;  // the boxes of those who were not asked keep their ticks
    for (const int number : ticked) ReportController(number, {}, {Trouble::kNone, "found", ""});
    if (ticked.isEmpty()) Fail(Trouble::kController, "nobody answered");
    return;
  }
  const QString checksum = Window(kTable) != nullptr ? Text(kTable, "File Cheksum") : "";
  for (const int number : ticked) {
    const Row row = Window(kTable) != nullptr ? RowOf(number) : Row{};
    ReportController(number, row, JudgeRow(row, checksum, step.job));
  }
}

void Operator::ReportController(int number, const Row& row, const Verdict& verdict) {
  const bool good = verdict.trouble == Trouble::kNone;
  teller_.Tell("controller",
               QString("%1  %2 | %3 | %4")
                   .arg(ControllerName(number), row.version, row.checksum, good ? "good" : "BAD"),
               {{"number", number},
                {"version", row.version},
                {"checksum", row.checksum},
                {"verdict", verdict.word},
                {"advice", verdict.advice}});
  if (!good) teller_.Explain(verdict.word + ": " + verdict.advice);
  Note(verdict.trouble);
}

void Operator::Fail(Trouble trouble, const QString& reason) {
  teller_.Tell("failure", "FAILED: " + reason, {{"text", reason}});
  Note(trouble);
}

void Operator::KeepPicture(const QString& window) {
  if (Shows(window)) KeepPicture(*Window(window), window.toLower());
}

void Operator::KeepPicture(QWidget& window, const QString& name) {
  if (task_.pictures.isEmpty()) return;
  const QString path = task_.pictures + "/" + name + ".png";
  if (!window.grab().save(path)) Fail(Trouble::kFile, "can't write " + path);
}

}  // namespace quillon
