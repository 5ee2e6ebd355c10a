// Writes the result of a line check in four forms: text for the technician, JSON for programs, an HTML page
// for the customer and a job record for the archive. All four show the same diagnosis:
//
//     TextReport    a table of the controllers, then Conclusions
//     JsonReport    a "controller" event for each, then "line" and "file"
//     HtmlReport    a row with a plot for each controller, then Conclusions
//     WriteRecord   the first line with the settings, a "result" for each controller, "end"
#include "line/report.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "page/page.h"
#include "platform/serial_control.h"
#include "platform/system_files.h"
#include "records/job_record.h"
#include "records/record_writer.h"

namespace quillon {
namespace {

int Milliseconds(double seconds) { return static_cast<int>(std::ceil(1000 * seconds)); }

QString TimesText(const ControllerDiagnosis& controller) {
  if (controller.longest == 0) return "-";
  return QString::asprintf("%d / %d / %d", Milliseconds(controller.shortest), Milliseconds(controller.median),
                           Milliseconds(controller.longest));
}

QString Sentences(const Verdict& verdict) {
  return QString::fromStdString(verdict.reason + ". " + verdict.advice).trimmed();
}

/// The recommended "Time Out" and "Parallel Waiting Delay", and what they depend on. All in ms.
struct Settings {
  int slowest;                                  // the slowest answer
  int batch;                                    // the longest batch of the file, or a usual one
  int timeOut = std::max(3000, 3 * slowest);    // 3000: for an erase
  int delay = (batch + slowest + 9) / 10 * 10;  // rounded up to tens
};

Settings Recommend(const LineReport& report) {
  constexpr std::size_t kUsualBatch = 140;  // bytes of a frame with 128 bytes of data
  const auto& frames = report.batchFrameSizes;
  const std::size_t longest = frames.empty() ? kUsualBatch : std::ranges::max(frames);
  return {.slowest = Milliseconds(report.diagnosis.slowest),
          .batch = Milliseconds(LineSeconds(longest, report.measurement.plan.baud))};
}

/// "Controllers: 3 good, 1 bad, 2 not there."
QString Summary(const LineDiagnosis& line) {
  QStringList parts;
  for (const char* word : kLineVerdicts) {
    const auto count = std::ranges::count(line.controllers, word, [](auto& c) { return c.verdict.word; });
    if (count > 0) parts << QString::number(count) + " " + word;
  }
  return "Controllers: " + parts.join(", ") + ".";
}

/// Sentences about the line as a whole, the recommended settings and the file.
QStringList Conclusions(const LineReport& report) {
  const auto& [measurement, line, batchFrameSizes] = report;
  QStringList texts{Summary(line)};
  double bound = 0;
  for (const auto& c : line.controllers) bound = std::max(bound, c.verdict.good ? c.bound : 0);
  if (bound > 0)
    texts << QString("Of the questions to a good controller fewer than %1 % fail, with 95 % confidence.")
                 .arg(std::ceil(100 * bound));
  texts << QString("Echo of the adapter: %1. Bytes while nobody was asked: %2. Latency of the adapter: %3.")
               .arg(line.echo ? "yes" : "no")
               .arg(line.idleBytes)
               .arg(line.latency > 0 ? QString("about %1 ms").arg(Milliseconds(line.latency))
                                     : QString("below %1 ms").arg(Milliseconds(line.latencyLimit)));
  if (measurement.lateness > 0.005)
    texts << QString("This computer was busy: times are up to %1 ms too long.")
                 .arg(Milliseconds(measurement.lateness));
  const Settings settings = Recommend(report);
  if (line.slowest > 0)
    texts << QString::asprintf(
                 "Time Out: %d ms. Reason: an erase has to end within it; the slowest answer to "
                 "a check took %d ms.",
                 settings.timeOut, settings.slowest)
          << QString::asprintf(
                 "Parallel Waiting Delay: at least %d ms. Reason: a batch is on the line for %d "
                 "ms, and a controller acts within %d ms. Writing its flash may take longer.",
                 settings.delay, settings.batch, settings.slowest);
  if (!batchFrameSizes.empty()) {
    const FileProof proof = ProveFile(line, batchFrameSizes);
    texts << QString::asprintf(
        "The check received as many bytes without a loss as %d of the %d batches of the file have. The whole "
        "file needs %d questions to each controller, about %.0f s for each.",
        proof.provenBatches, proof.batches, proof.questions,
        std::ceil(proof.questions * QuestionSeconds(measurement.plan.baud, line.slowest)));
  }
  return texts << "An answer is shorter than a batch and is sent in the other direction: a good line can "
                  "still lose a batch.";
}

QJsonObject ControllerEvent(const ControllerDiagnosis& controller) {
  QJsonArray damagedAt;
  for (const int count : controller.damagedAt) damagedAt.append(count);
  QJsonObject event{{"event", "controller"},
                    {"number", controller.number},
                    {"asked", controller.asked},
                    {"answered", controller.answered},
                    {"damaged", controller.damaged},
                    {"damagedAt", damagedAt},
                    {"late", controller.late},
                    {"unanswered", controller.missing},
                    {"repeatsAtMost", controller.longestFailure},
                    {"failureBound", controller.bound},
                    {"bytes", static_cast<int>(controller.length)},
                    {"byteMs", 1000 * controller.byteTime},
                    {"minMs", 1000 * controller.shortest},
                    {"medianMs", 1000 * controller.median},
                    {"maxMs", 1000 * controller.longest}};
  AddVerdict(controller.verdict, event);
  return event;
}

/// One dot for each question: to the right its moment, upwards the time to the answer, on top the failures.
QString Plot(const MeasuredController& controller, double end, double slowest) {
  constexpr int kWidth = 352, kHeight = 40;  // pixels from the leftmost dot to the rightmost, and upwards
  constexpr const char* kClasses[] = {"good", "bad", "missing"};
  QString dots;
  for (const Question& question : controller.questions) {
    const double height = question.reply == LineReply::kGood ? 0.8 * question.firstByte / slowest : 1;
    dots += QString::asprintf("<circle cx='%.1f' cy='%.1f' r='3' class='%s'/>", kWidth * question.asked / end,
                              kHeight * (1 - height), kClasses[static_cast<std::size_t>(question.reply)]);
  }
  return "<svg width='360' height='48' viewBox='-4 -4 360 48'><rect x='-4' y='-4' width='360' height='48'/>" +
         dots + "</svg>";
}

constexpr char kStyle[] = R"(body { font: 15px sans-serif; max-width: 64em; margin: 2em auto; color: #222 }
table { border-collapse: collapse } td, th { padding: .4em .8em; border-top: 1px solid #bbb; text-align: left }
rect { fill: #f2f2f2 } .good { fill: #27803b; color: #27803b } .bad { fill: #c22; color: #c22 }
.marginal { color: #b05a00 } .not { color: #666 } .missing { fill: #fff; stroke: #c22 }
)";

QString PageRow(const LineReport& report, std::size_t index) {
  const ControllerDiagnosis& controller = report.diagnosis.controllers[index];
  const QString word = QString::fromStdString(controller.verdict.word);
  QString sentences = Sentences(controller.verdict);
  sentences.front() = sentences.front().toUpper();
  return HtmlRow(
      {QString::number(controller.number),
       QString("<b class='%1'>%1</b><br>%2").arg(word, sentences.toHtmlEscaped()),
       QString("%1 of %2").arg(controller.answered).arg(controller.asked),
       Plot(report.measurement.controllers[index], report.measurement.seconds, report.diagnosis.slowest)});
}

}  // namespace

std::string TextReport(const LineReport& report) {
  QList<QStringList> lines{{"number", "answered", "damaged", "late", "time (ms) min/median/max", "verdict"}};
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers) {
    const auto number = [&](const QString& text) { return controller.IsThere() ? text : "-"; };
    const bool explained = controller.IsThere() && !controller.verdict.good;
    lines << QStringList{QString::number(controller.number),
                         number(QString("%1/%2").arg(controller.answered).arg(controller.asked)),
                         number(QString::number(controller.damaged)),
                         number(QString::number(controller.late)),
                         TimesText(controller),
                         QString::fromStdString(controller.verdict.word) +
                             (explained ? ": " + Sentences(controller.verdict) : "")};
  }
  return (TextTable(lines, 4) + "\n" + Conclusions(report).join("\n") + "\n").toStdString();
}

std::vector<QJsonObject> JsonReport(const LineReport& report) {
  const LineDiagnosis& line = report.diagnosis;
  std::vector<QJsonObject> events;
  for (const auto& controller : line.controllers) events.push_back(ControllerEvent(controller));
  events.push_back({{"event", "line"},
                    {"echo", line.echo},
                    {"idleBytes", line.idleBytes},
                    {"latencyMs", 1000 * line.latency}});
  if (line.slowest > 0) {
    events.back()["timeOut"] = Recommend(report).timeOut;
    events.back()["delay"] = Recommend(report).delay;
  }
  if (report.batchFrameSizes.empty()) return events;
  const FileProof proof = ProveFile(line, report.batchFrameSizes);
  events.push_back({{"event", "file"},
                    {"batches", proof.batches},
                    {"provenBatches", proof.provenBatches},
                    {"questions", proof.questions}});
  return events;
}

std::string HtmlReport(const LineReport& report) {
  const LineMeasurement& measurement = report.measurement;
  QString rows = HtmlRow({"Controller", "Verdict", "Intact answers", "Over time"}, "th");
  for (std::size_t i = 0; i < measurement.controllers.size(); ++i) rows += PageRow(report, i);
  QStringList conclusions = Conclusions(report);
  const QString summary = conclusions.takeFirst();
  const QString body =
      QString(
          "<h1>Line check</h1><p>%1, COM %2 at %3 bits per second</p><p><b>%4</b></p>\n<table>%5</table>\n<p>"
          "Each dot is a question, from the start of the check on the left to its end after %6 s. Green: the "
          "answer is intact; the higher, the later it came, up to %7 ms. On top: the answer is damaged (red) "
          "or missing (empty).</p>\n<ul><li>%8</li></ul>\n")
          .arg(QDateTime::currentDateTime().toString("yyyy-MM-dd hh:mm"))
          .arg(measurement.plan.port)
          .arg(measurement.plan.baud)
          .arg(summary, rows)
          .arg(std::ceil(measurement.seconds))
          .arg(Milliseconds(1.25 * report.diagnosis.slowest))
          .arg(conclusions.join("\n").toHtmlEscaped().replace("\n", "</li><li>"));
  return HtmlPage("Line check", kStyle, body).toStdString();
}

std::string RoundText(const LineMeasurement& measurement) {
  constexpr const char* kReplies[] = {"good", "DAMAGED", "-"};
  QString text;
  for (const MeasuredController& controller : measurement.controllers) {
    if (controller.questions.empty()) continue;
    const Question& last = controller.questions.back();
    if (text.isEmpty()) text = QString::asprintf("%7.1f s", last.asked);
    text +=
        QString::asprintf("  %3d %-7s", controller.number, kReplies[static_cast<std::size_t>(last.reply)]);
  }
  return text.toStdString();
}

bool WriteRecord(const LineReport& report, const std::string& folder) {
  const auto& [port, baud, protocolByte, controllers, questions, watch, timeout] = report.measurement.plan;
  const double seconds = report.measurement.seconds;
  QJsonObject settings{{"speed", QString::number(baud)},
                       {"protocol", QString::number(protocolByte - 1)},
                       {"timeout", QString::number(1000 * timeout)}};
  if (!watch) settings["questions"] = QString::number(questions);
  const JobFacts job{.kind = "line-check",
                     .tool = "quillon-line " QUILLON_VERSION,
                     .began = QDateTime::currentDateTimeUtc().addMSecs(-static_cast<qint64>(1000 * seconds)),
                     .port = QString("COM %1").arg(port),
                     .controllers = controllers,
                     .settings = settings};
  bool written = true;
  QDir().mkpath(QString::fromStdString(folder));  // if that fails, the writer reports it
  RecordWriter writer(QString::fromStdString(folder), [&written](const QString& reason) {
    std::fprintf(stderr, "quillon-line: %s\n", qUtf8Printable(reason));
    written = false;
  });
  writer.Write(RecordLine("job", 0, JobFields(job, system_files::ProgramFolder())), false);
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers) {
    QJsonObject result = ControllerEvent(controller);
    result["controller"] = result.take("number");
    writer.Write(RecordLine("result", seconds, result), false);
  }
  const char* how = report.measurement.cancelled ? "cancelled" : "finished";
  writer.Write(RecordLine("end", seconds, {{"how", how}}), true);
  writer.Wait();
  return written;
}

}  // namespace quillon
