#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>
#include <cstdio>

#include "line/report.h"
#include "platform/system_files.h"
#include "platform/system_ports.h"
#include "records/job_record.h"
#include "records/record_writer.h"

namespace quillon {
namespace {

QByteArray JsonLine(QJsonObject object, const char* event, double seconds) {
  object["event"] = event;
  object["seconds"] = std::round(1000 * seconds) / 1000;
  return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject Job(const LinePlan& plan, const QDateTime& began) {
  QJsonArray controllers;
  for (const int number : plan.controllers) controllers.append(number);
  const std::string adapter = DescribePort(system_files::ProgramFolder(), plan.port).text;
  return {{"format", kRecordFormat},
          {"time", began.toString(Qt::ISODateWithMs)},
          {"kind", "line-check"},
          {"tool", "quillon-line " QUILLON_VERSION},
          {"port", QString("COM %1").arg(plan.port)},
          {"adapter", QString::fromStdString(adapter)},
          {"settings", QJsonObject{{"speed", QString::number(plan.baud)},
                                   {"protocol", QString::number(plan.protocolByte - 1)},
                                   {"timeout", QString::number(1000 * plan.timeout)},
                                   {"questions", QString::number(plan.questions)}}},
          {"controllers", controllers}};
}

}  // namespace

bool WriteRecord(const LineReport& report, const std::string& folder, double seconds) {
  const QDateTime began = QDateTime::currentDateTimeUtc().addMSecs(-static_cast<qint64>(1000 * seconds));
  bool written = true;
  RecordWriter writer(QString::fromStdString(folder), [&written](const QString& reason) {
    std::fprintf(stderr, "quillon-line: %s\n", qUtf8Printable(reason));
    written = false;
  });
  writer.Begin(began.toString("yyyyMMdd'T'HHmmss'Z'-") + "line-check");
  writer.Append(JsonLine(Job(report.measurement.plan, began), "job", 0), false);
  for (const ControllerDiagnosis& controller : report.diagnosis.controllers) {
    const QJsonObject result{
        {"controller", controller.number},
        {"good", controller.verdict == LineVerdict::kGood},
        {"verdict", VerdictText(controller.verdict)},
        {"evidence", controller.cause == LineCause::kNone ? "" : CauseWord(controller.cause)},
        {"reason", QString::fromStdString(controller.reason)},
        {"advice", QString::fromStdString(controller.remedy)},
        {"asked", controller.asked},
        {"damaged", controller.damaged},
        {"late", controller.late},
        {"unanswered", controller.missing}};
    writer.Append(JsonLine(result, "result", seconds), false);
  }
  const char* how = report.measurement.cancelled ? "cancelled" : "finished";
  writer.Append(JsonLine({{"how", how}}, "end", seconds), true);
  writer.Wait();
  QCoreApplication::processEvents();  // a failure is among them
  return written;
}

}  // namespace quillon
