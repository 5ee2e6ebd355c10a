// Writes the result of a line check in four forms: text for the technician, JSON for programs, a page for the
// customer and a job record for the archive. All four show the same diagnosis.
#include "line/report.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/serial_control.h"
#include "platform/system_files.h"
#include "records/job_record.h"
#include "records/record_writer.h"

namespace quillon {
namespace {

int Milliseconds(double seconds) { return static_cast<int>(std::ceil(1000 * seconds)); }

QString TimesText(const ControllerDiagnosis& controller) {
  if (controller.longest == 0) return "-";
  return QString("%1 / %2 / %3")
      .arg(Milliseconds(controller.shortest))
      .arg(Milliseconds(controller.median))
      .arg(Milliseconds(controller.longest));
}

QString Sentences(const ControllerDiagnosis& controller) {
  return QString::fromStdString(controller.reason + ". " + controller.remedy).trimmed();
}

/// How long the longest batch of the file is on the line, or that of a usual file, in ms.
int BatchTime(const LineReport& report) {
  constexpr std::size_t kUsualBatch = 140;  // bytes of a frame with 128 bytes of data
  const auto& frames = report.batchFrameSizes;
  const std::size_t longest = frames.empty() ? kUsualBatch : *std::ranges::max_element(frames);
  return Milliseconds(LineSeconds(longest, report.measurement.plan.baud));
}

/// The recommended "Time Out" and "Parallel Waiting Delay", in ms.
int TimeOut(const LineDiagnosis& line) {
  constexpr int kForErase = 3000;
  return std::max(kForErase, 3 * Milliseconds(line.slowest));
}
int Delay(const LineReport& report) {
  return (BatchTime(report) + Milliseconds(report.diagnosis.slowest) + 9) / 10 * 10;
}

/// "Controllers: 3 good, 1 bad, 2 not there."
QString Summary(const LineDiagnosis& line) {
  QStringList parts;
  for (const LineVerdict verdict : {LineVerdict::kGood, LineVerdict::kMarginal, LineVerdict::kBad,
                                    LineVerdict::kNotMeasured, LineVerdict::kNotThere}) {
    const auto count = std::ranges::count(line.controllers, verdict, &ControllerDiagnosis::verdict);
    if (count > 0) parts << QString("%1 %2").arg(count).arg(VerdictText(verdict));
  }
  return "Controllers: " + parts.join(", ") + ".";
}

QString SettingsText(const LineReport& report) {
  return QString(
             "Time Out: %1 ms. Reason: an erase has to end within it; the slowest answer to a check took "
             "%2 ms.\nParallel Waiting Delay: at least %3 ms. Reason: a batch is on the line for %4 ms, and "
             "a controller acts within %2 ms. Writing its flash may take longer.")
      .arg(TimeOut(report.diagnosis))
      .arg(Milliseconds(report.diagnosis.slowest))
      .arg(Delay(report))
      .arg(BatchTime(report));
}

QString ProofText(const LineReport& report) {
  const FileProof proof = ProveFile(report.diagnosis, report.batchFrameSizes);
  const LinePlan& plan = report.measurement.plan;
  return QString(
             "Proven for up to %1 of the %2 batches of the file without a loss, by bytes. The whole file "
             "needs %3 questions to each controller, about %4 s for each.")
      .arg(proof.provenBatches)
      .arg(proof.batches)
      .arg(proof.questions)
      .arg(std::ceil(proof.questions * QuestionSeconds(plan.baud, report.diagnosis.slowest)));
}

/// What was found on the line as a whole, and what the numbers show.
QStringList Conclusions(const LineReport& report) {
  const LineDiagnosis& line = report.diagnosis;
  QStringList lines{Summary(line)};
  double bound = 0;
  for (const ControllerDiagnosis& controller : line.controllers)
    if (controller.verdict == LineVerdict::kGood) bound = std::max(bound, controller.bound);
  if (bound > 0)
    lines << QString("Of the questions to a good controller fewer than %1 % fail, with 95 % confidence.")
                 .arg(std::ceil(100 * bound));
  lines << QString("Echo of the adapter: %1. Bytes while nobody was asked: %2. Latency of the adapter: %3.")
               .arg(line.echo ? "yes" : "no")
               .arg(line.idleBytes)
               .arg(line.latency > 0 ? QString("about %1 ms").arg(Milliseconds(line.latency)) : "below 8 ms");
  if (report.measurement.lateness > 0.005)
    lines << QString("This computer was busy: times are up to %1 ms too long.")
                 .arg(Milliseconds(report.measurement.lateness));
  if (line.slowest > 0) lines += SettingsText(report).split('\n');
  if (!report.batchFrameSizes.empty()) lines << ProofText(report);
  lines << "An answer is short and goes the other way than a batch: a good line can still lose a batch.";
  return lines;
}

QJsonObject ControllerEvent(const ControllerDiagnosis& controller) {
  QJsonArray damagedAt;
  for (const int count : controller.damagedAt) damagedAt.append(count);
  return {{"event", "controller"},
          {"number", controller.number},
          {"asked", controller.asked},
          {"answered", controller.answered},
          {"damaged", controller.damaged},
          {"damagedAt", damagedAt},
          {"late", controller.late},
          {"unanswered", controller.missing},
          {"repeatsAtMost", controller.repeats},
          {"failureBound", controller.bound},
          {"bytes", static_cast<int>(controller.length)},
          {"byteMs", 1000 * controller.byteTime},
          {"minMs", 1000 * controller.shortest},
          {"medianMs", 1000 * controller.median},
          {"maxMs", 1000 * controller.longest},
          {"good", controller.verdict == LineVerdict::kGood},
          {"verdict", VerdictText(controller.verdict)},
          {"evidence", QString::fromStdString(controller.cause)},
          {"reason", QString::fromStdString(controller.reason)},
          {"advice", QString::fromStdString(controller.remedy)}};
}

QJsonObject LineEvent(const LineReport& report) {
  const LineDiagnosis& line = report.diagnosis;
  QJsonObject event{{"event", "line"},
                    {"echo", line.echo},
                    {"idleBytes", line.idleBytes},
                    {"latencyMs", 1000 * line.latency}};
  if (line.slowest == 0) return event;
  event["timeOut"] = TimeOut(line);
  event["delay"] = Delay(report);
  return event;
}

/// One dot for each question: to the right its moment, upwards the time to the answer, on top the failures.
QString Plot(const MeasuredController& controller, double end, double slowest) {
  constexpr int kWidth = 360;
  constexpr int kHeight = 48;
  constexpr int kMargin = 4;
  constexpr const char* kClasses[] = {"good", "bad", "missing"};
  QString dots;
  for (const Question& question : controller.questions) {
    const double height = question.reply == LineReply::kGood ? 0.8 * question.firstByte / slowest : 1;
    dots += QString("<circle cx='%1' cy='%2' r='3' class='%3'/>")
                .arg(kMargin + (kWidth - 2 * kMargin) * question.asked / end, 0, 'f', 1)
                .arg(kHeight - kMargin - (kHeight - 2 * kMargin) * height, 0, 'f', 1)
                .arg(kClasses[static_cast<std::size_t>(question.reply)]);
  }
  return QString("<svg width='%1' height='%2'><rect width='%1' height='%2'/>%3</svg>")
      .arg(kWidth)
      .arg(kHeight)
      .arg(dots);
}

constexpr char kPage[] = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>Line check</title><style>
body { font: 15px sans-serif; max-width: 60em; margin: 2em auto; color: #222 }
table { border-collapse: collapse } td, th { padding: .4em .8em; border-top: 1px solid #bbb; text-align: left }
rect { fill: #f2f2f2 } .good { fill: #27803b } .bad { fill: #c22 } .missing { fill: #fff; stroke: #c22 }
</style></head><body>
<h1>Line check</h1><p>%1, COM %2 at %3 bits per second</p>
<table><tr><th>Controller</th><th>Verdict</th><th>Intact answers</th><th>Over time</th></tr>
%4</table>
<p>Each dot is a question. Green: the answer is intact; the higher, the later it came, up to %5 ms. On top: the
answer is damaged (red) or missing (empty).</p>
<ul>%6</ul></body></html>
)";

}  // namespace

std::string TextReport(const LineReport& report) {
  QString text = "number  answered  damaged  late  time (ms) min/median/max  verdict\n";
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers) {
    const bool silent = controller.verdict == LineVerdict::kNotThere;
    const bool plain = silent || controller.verdict == LineVerdict::kGood;
    text += QString("%1  %2  %3  %4  %5  %6%7\n")
                .arg(controller.number, 6)
                .arg(silent ? "-" : QString("%1/%2").arg(controller.answered).arg(controller.asked), 8)
                .arg(silent ? "-" : QString::number(controller.damaged), 7)
                .arg(silent ? "-" : QString::number(controller.late), 4)
                .arg(TimesText(controller), -24)
                .arg(VerdictText(controller.verdict), plain ? "" : ": " + Sentences(controller));
  }
  return (text + "\n" + Conclusions(report).join("\n") + "\n").toStdString();
}

std::vector<QJsonObject> JsonReport(const LineReport& report) {
  std::vector<QJsonObject> events;
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers)
    events.push_back(ControllerEvent(controller));
  events.push_back(LineEvent(report));
  if (report.batchFrameSizes.empty()) return events;
  const FileProof proof = ProveFile(report.diagnosis, report.batchFrameSizes);
  events.push_back({{"event", "file"},
                    {"batches", proof.batches},
                    {"provenBatches", proof.provenBatches},
                    {"questions", proof.questions}});
  return events;
}

std::string HtmlReport(const LineReport& report, const QString& when) {
  const LineMeasurement& measurement = report.measurement;
  QString rows;
  for (std::size_t i = 0; i < measurement.controllers.size(); ++i) {
    const ControllerDiagnosis& controller = report.diagnosis.controllers[i];
    rows += QString("<tr><td>%1</td><td><b>%2</b><br>%3</td><td>%4 of %5</td><td>%6</td></tr>\n")
                .arg(controller.number)
                .arg(VerdictText(controller.verdict), Sentences(controller).toHtmlEscaped())
                .arg(controller.answered)
                .arg(controller.asked)
                .arg(Plot(measurement.controllers[i], measurement.seconds, report.diagnosis.slowest));
  }
  QString conclusions;
  for (const QString& line : Conclusions(report)) conclusions += "<li>" + line.toHtmlEscaped() + "</li>";
  return QString(kPage)
      .arg(when)
      .arg(measurement.plan.port)
      .arg(measurement.plan.baud)
      .arg(rows)
      .arg(Milliseconds(1.25 * report.diagnosis.slowest))
      .arg(conclusions)
      .toStdString();
}

std::string RoundText(const LineMeasurement& measurement) {
  constexpr const char* kReplies[] = {"good", "DAMAGED", "-"};
  QString text;
  for (const MeasuredController& controller : measurement.controllers) {
    if (controller.questions.empty()) continue;
    const Question& last = controller.questions.back();
    if (text.isEmpty()) text = QString("%1 s").arg(last.asked, 7, 'f', 1);
    text +=
        QString("  %1 %2").arg(controller.number, 3).arg(kReplies[static_cast<std::size_t>(last.reply)], -7);
  }
  return text.toStdString();
}

bool WriteRecord(const LineReport& report, const std::string& folder) {
  const double seconds = report.measurement.seconds;
  const QDateTime began = QDateTime::currentDateTimeUtc().addMSecs(-static_cast<qint64>(1000 * seconds));
  bool written = true;
  RecordWriter writer(QString::fromStdString(folder), [&written](const QString& reason) {
    std::fprintf(stderr, "quillon-line: %s\n", qUtf8Printable(reason));
    written = false;
  });
  const auto write = [&](const char* event, double at, QJsonObject fields) {
    writer.Write(RecordLine(event, at, std::move(fields)), event == std::string_view("end"));
  };
  const LinePlan& plan = report.measurement.plan;
  QJsonObject settings{{"speed", QString::number(plan.baud)},
                       {"protocol", QString::number(plan.protocolByte - 1)},
                       {"timeout", QString::number(1000 * plan.timeout)}};
  if (!plan.watch) settings["questions"] = QString::number(plan.questions);
  write("job", 0,
        JobFields({.kind = "line-check",
                   .tool = "quillon-line " QUILLON_VERSION,
                   .began = began,
                   .port = QString("COM %1").arg(plan.port),
                   .controllers = plan.controllers,
                   .settings = settings},
                  system_files::ProgramFolder()));
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers) {
    QJsonObject result = ControllerEvent(controller);
    result["controller"] = result.take("number");
    write("result", seconds, result);
  }
  write("end", seconds, {{"how", report.measurement.cancelled ? "cancelled" : "finished"}});
  writer.Wait();
  QCoreApplication::processEvents();  // a failure is among them
  return written;
}

}  // namespace quillon
