#include "line/report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <algorithm>
#include <cmath>

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

/// "Time Out" and "Parallel Waiting Delay" that this line allows, in ms.
struct Settings {
  int slowest;  // answer
  int batch;    // the longest one on the line
  int timeOut;
  int delay;
};

Settings Recommend(const LineReport& report) {
  constexpr std::size_t kUsualBatch = 140;  // bytes of a frame with 128 bytes of data
  const auto& frames = report.batchFrames;
  const std::size_t longest = frames.empty() ? kUsualBatch : *std::max_element(frames.begin(), frames.end());
  const int slowest = Milliseconds(report.diagnosis.slowest);
  const int batch = Milliseconds(LineSeconds(longest, report.measurement.plan.baud));
  return {slowest, batch, (3 * slowest + 100 + 99) / 100 * 100, (batch + slowest + 9) / 10 * 10};
}

/// What was found on the line as a whole, and what the numbers show.
QStringList Conclusions(const LineReport& report) {
  const LineDiagnosis& line = report.diagnosis;
  QStringList lines;
  for (const ControllerDiagnosis& controller : line.controllers)
    if (controller.verdict == LineVerdict::kGood)
      lines << QString("Controller %1: fewer than %2 % of its answers fail, with 95 % confidence.")
                   .arg(controller.number)
                   .arg(std::ceil(100 * controller.bound));
  lines << QString("Echo of the adapter: %1. Bytes while nobody was asked: %2. Latency of the adapter: %3.")
               .arg(line.echo ? "yes" : "no")
               .arg(line.idleBytes)
               .arg(line.latency > 0 ? QString("about %1 ms").arg(Milliseconds(line.latency)) : "below 8 ms");
  if (report.measurement.lateness > 0.005)
    lines << QString("This computer was busy: times are up to %1 ms too long.")
                 .arg(Milliseconds(report.measurement.lateness));
  if (line.slowest > 0) {
    const Settings settings = Recommend(report);
    lines << QString("Time Out: %1 ms. Reason: three times the slowest answer (%2 ms) and 100 ms.")
                 .arg(settings.timeOut)
                 .arg(settings.slowest);
    lines << QString(
                 "Parallel Waiting Delay: at least %1 ms. Reason: a batch is on the line for %2 ms, and a "
                 "controller acts within %3 ms. Writing its flash may take longer.")
                 .arg(settings.delay)
                 .arg(settings.batch)
                 .arg(settings.slowest);
  }
  if (!report.batchFrames.empty()) {
    const FileProof proof = ProveFile(line, report.batchFrames);
    lines << QString(
                 "Proven for up to %1 of the %2 batches of the file without a loss, by bytes. The whole file "
                 "needs %3 questions to each controller, about %4 s for each (--prove).")
                 .arg(proof.provenBatches)
                 .arg(proof.batches)
                 .arg(proof.questions)
                 .arg(std::ceil(proof.questions * (0.53 + line.slowest)));
  }
  lines << "An answer is short and goes the other way than a batch: a good line can still lose a batch.";
  return lines;
}

QByteArray JsonLine(const QJsonObject& object) {
  return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject ControllerObject(const ControllerDiagnosis& controller) {
  QJsonArray damagedAt;
  for (const int count : controller.damagedAt) damagedAt.append(count);
  return {{"event", "controller"},
          {"number", controller.number},
          {"asked", controller.asked},
          {"answered", controller.answered},
          {"damaged", controller.damaged},
          {"damagedAt", damagedAt},
          {"late", controller.late},
          {"missing", controller.missing},
          {"repeats", controller.repeats},
          {"below", controller.bound},
          {"length", static_cast<int>(controller.length)},
          {"byteMs", 1000 * controller.byteTime},
          {"minMs", 1000 * controller.shortest},
          {"medianMs", 1000 * controller.median},
          {"maxMs", 1000 * controller.longest},
          {"verdict", VerdictText(controller.verdict)},
          {"cause", CauseWord(controller.cause)},
          {"reason", QString::fromStdString(controller.reason)},
          {"remedy", QString::fromStdString(controller.remedy)}};
}

const char* ReplyText(LineReply reply) {
  return reply == LineReply::kGood ? "good" : reply == LineReply::kDamaged ? "DAMAGED" : "-";
}

/// One dot for each question: to the right its moment, upwards the time to the answer.
QString Plot(const MeasuredController& controller, const LineMeasurement& measurement) {
  constexpr int kWidth = 360;
  constexpr int kHeight = 48;
  constexpr int kMargin = 4;
  double end = 1;
  for (const MeasuredController& other : measurement.controllers)
    if (!other.questions.empty()) end = std::max(end, other.questions.back().asked);
  QString dots;
  for (const Question& question : controller.questions) {
    const bool good = question.reply == LineReply::kGood;
    const double height = good ? std::min(1.0, question.firstByte / measurement.plan.timeout) : 1;
    dots += QString("<circle cx='%1' cy='%2' r='3' class='%3'/>")
                .arg(kMargin + (kWidth - 2 * kMargin) * question.asked / end, 0, 'f', 1)
                .arg(kHeight - kMargin - (kHeight - 2 * kMargin) * height, 0, 'f', 1)
                .arg(good                                    ? "good"
                     : question.reply == LineReply::kDamaged ? "bad"
                                                             : "missing");
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
<p>Each dot is a question; the higher, the longer the answer took. Green: intact. Red: damaged. Empty: none.</p>
<ul>%5</ul></body></html>
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

std::string JsonReport(const LineReport& report) {
  QByteArray lines;
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers)
    lines += JsonLine(ControllerObject(controller));
  const LineDiagnosis& line = report.diagnosis;
  QJsonObject object{{"event", "line"},
                     {"echo", line.echo},
                     {"idleBytes", line.idleBytes},
                     {"latencyMs", 1000 * line.latency}};
  if (line.slowest > 0) {
    object["timeOut"] = Recommend(report).timeOut;
    object["delay"] = Recommend(report).delay;
  }
  lines += JsonLine(object);
  if (report.batchFrames.empty()) return lines.toStdString();
  const FileProof proof = ProveFile(line, report.batchFrames);
  lines += JsonLine({{"event", "file"},
                     {"batches", proof.batches},
                     {"provenBatches", proof.provenBatches},
                     {"questions", proof.questions}});
  return lines.toStdString();
}

std::string HtmlReport(const LineReport& report, const std::string& when) {
  const LineMeasurement& measurement = report.measurement;
  QString rows;
  for (std::size_t i = 0; i < measurement.controllers.size(); ++i) {
    const ControllerDiagnosis& controller = report.diagnosis.controllers[i];
    rows += QString("<tr><td>%1</td><td><b>%2</b><br>%3</td><td>%4 of %5</td><td>%6</td></tr>\n")
                .arg(controller.number)
                .arg(VerdictText(controller.verdict), Sentences(controller).toHtmlEscaped())
                .arg(controller.answered)
                .arg(controller.asked)
                .arg(Plot(measurement.controllers[i], measurement));
  }
  QString conclusions;
  for (const QString& line : Conclusions(report)) conclusions += "<li>" + line.toHtmlEscaped() + "</li>";
  return QString(kPage)
      .arg(QString::fromStdString(when))
      .arg(measurement.plan.port)
      .arg(measurement.plan.baud)
      .arg(rows, conclusions)
      .toStdString();
}

std::string RoundText(const LineMeasurement& measurement) {
  QString text;
  for (const MeasuredController& controller : measurement.controllers) {
    if (controller.questions.empty()) continue;
    const Question& last = controller.questions.back();
    if (text.isEmpty()) text = QString("%1 s").arg(last.asked, 7, 'f', 1);
    text += QString("  %1 %2").arg(controller.number, 3).arg(ReplyText(last.reply), -7);
  }
  return text.toStdString();
}

}  // namespace quillon
