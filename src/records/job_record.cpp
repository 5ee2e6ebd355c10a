// Parses job records. A record has one JSON object on each line; its field `event` names what happened:
//
//     {"event":"job","kind":"serial","controllers":[3],...}              the first line
//     {"event":"begun","controller":3,"phase":"erase","seconds":0.1}     a phase of a controller
//     {"event":"result","controller":3,"verdict":"good",...}             one for each controller
//     {"event":"end","how":"finished",...}                               the last line
//
// A record without the last line was cut, for example by a crash: the state of each controller is then judged
// from the lines that exist. docs/job-record.md documents the format.
#include "records/job_record.h"

#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "forms/quillon.h"
#include "platform/system_ports.h"

namespace quillon {
namespace {

using Progress = ControllerRecord::Progress;

/// The number of a controller in a line. Raises std::runtime_error when it is not one.
int ControllerNumber(const QJsonValue& value) {
  const int number = value.toInt(-1);
  if (number >= 0 && number < kControllers) return number;
  const QString text = value.toVariant().toString();
  throw std::runtime_error("it names the controller \"" + text.toStdString() +
                           "\"; numbers run from 0 to 31");
}

/// Collects the lines of a record, one after the other.
class RecordParser {
 public:
  /// Raises std::runtime_error when the first line is not that of a job record.
  void Add(const QJsonObject& line) {
    const QString event = line["event"].toString();
    if (record_.job.isEmpty()) return AddJob(line, event);
    record_.seconds = line["seconds"].toDouble();
    if (event == "error") record_.errors += line["text"].toString() + "\n";
    if (event == "begun") currentPhase_ = line;
    if (event == "ended") currentPhase_ = QJsonObject();
    if (event == "batch") AddBatch(line);
    if (event == "end") {
      record_.ending = line["how"].toString();
      record_.gaps = line["gaps"].toString();
    }
    if (line.contains("controller"))
      AddTo(record_.controllers[ControllerNumber(line["controller"])], event, line);
  }

  JobRecord Finish() {
    if (!record_.ending.isEmpty()) return record_;
    record_.cut = DescribeCut();
    const bool download = record_.Kind() == "parallel" || record_.Kind() == "serial";
    for (auto& [number, controller] : record_.controllers) {
      if (controller.done) continue;
      if (download) {
        JudgeCutDownload(controller);
      } else {
        JudgeCutReading(controller);
      }
    }
    return record_;
  }

 private:
  void AddJob(const QJsonObject& line, const QString& event) {
    if (event != "job") throw std::runtime_error("it is not a job record");
    if (line["format"].toInt() > kRecordFormat)
      throw std::runtime_error("its format is newer than this program; use a newer version of Quillon");
    record_.job = line;
    const QJsonArray controllers = line["controllers"].toArray();
    // The controllers of an auto detection are those that it finds: each has a line of its own.
    if (line["kind"] == "auto") return;
    for (const QJsonValue& controller : controllers) record_.controllers[ControllerNumber(controller)];
  }

  void AddBatch(const QJsonObject& line) {
    lastBatchLine_ = line;
    record_.batches = line["begun"].toInt();  // number of the batch that begins
  }

  void AddTo(ControllerRecord& controller, const QString& event, const QJsonObject& line) {
    const QString phase = line["phase"].toString();
    if (event == "begun" && phase == "erase") controller.progress = Progress::kErasing;
    // A serial download sends the full checksum only after every batch was acknowledged.
    if (event == "begun" && phase == "confirm") controller.allAcknowledged = record_.Kind() == "serial";
    if (event == "repeat") ++controller.repeats;
    if (event == "damaged-answer") ++controller.damaged;
    if (event == "failure") controller.failure = line["text"].toString();
    if (event == "read") controller.after = {{"version", line["version"]}, {"checksum", line["checksum"]}};
    // All batches before the one that begins were acknowledged.
    if (event == "batch") controller.acknowledged = std::max(0, line["begun"].toInt() - 1);
    if (event == "answer") AddAnswer(controller, line["command"].toString(), line["reply"].toString());
    if (event == "result" && !controller.done) AddResult(controller, line);
  }

  static void AddAnswer(ControllerRecord& controller, const QString& command, const QString& reply) {
    if (reply == "refused") ++controller.refusals;
    const bool changesFlash = command == "erase" || command == "batch" || command == "full-checksum";
    if (changesFlash && (reply == "refused" || reply == "accepted"))
      controller.lastChangeRefused = reply == "refused";
    if (reply == "no-answer") ++controller.unanswered;
    if (reply != "accepted") return;
    if (command == "erase") controller.progress = Progress::kErased;
    if (command == "full-checksum") controller.progress = Progress::kConfirmed;
  }

  static void AddResult(ControllerRecord& controller, const QJsonObject& line) {
    controller.done = true;
    controller.before = line["before"].toObject();
    controller.after = line["after"].toObject();
    controller.acknowledged = line["acknowledged"].toInt();
    controller.repeats = line["repeats"].toInt();
    controller.refusals = line["refusals"].toInt();
    controller.damaged = line["damaged"].toInt();
    controller.unanswered = line["unanswered"].toInt();
    controller.good = line["good"].toBool();
    controller.verdict = line["verdict"].toString();
    controller.evidence = line["evidence"].toString();
    controller.reason = line["reason"].toString();
    controller.advice = line["advice"].toString();
    controller.gap = line["gap"].toString();
  }

  QString DescribeCut() const {
    if (record_.job.isEmpty()) return "The run was cut before anything was sent.";
    QString text = QString("The run was cut after %1 s").arg(record_.seconds, 0, 'f', 1);
    if (!currentPhase_.isEmpty())
      text += QString(", in the step \"%1\" of controller %2")
                  .arg(currentPhase_["phase"].toString())
                  .arg(currentPhase_["controller"].toInt());
    if (!lastBatchLine_.isEmpty())
      text += QString(", at or after batch %1 of %2")
                  .arg(lastBatchLine_["begun"].toInt())
                  .arg(lastBatchLine_["of"].toInt());
    return text + ".";
  }

  static void JudgeCutDownload(ControllerRecord& controller) {
    controller.verdict = "cut";
    switch (controller.progress) {
      case Progress::kUntouched:
        controller.reason = "the run was cut before its flash was changed";
        controller.advice = "load it";
        break;
      case Progress::kErasing:
        controller.reason = "the run was cut while it was erased; it may be erased";
        controller.advice = "load it again";
        break;
      case Progress::kErased:
        controller.reason = "it was erased, and the run was cut before it confirmed the image";
        controller.advice = "load it again";
        break;
      case Progress::kConfirmed:
        controller.reason = "it confirmed the image, and the run was cut before its end";
        controller.advice = "read it with flash-info";
        break;
    }
  }

  static void JudgeCutReading(ControllerRecord& controller) {
    controller.verdict = "cut";
    controller.reason = controller.after.isEmpty() ? "the run was cut before it was read"
                                                   : "it was read, and the run was cut before its end";
    controller.advice = controller.after.isEmpty() ? "read it again" : "";
  }

  JobRecord record_;
  QJsonObject currentPhase_;   // the line that began it; empty between two phases
  QJsonObject lastBatchLine_;  // the last line that counts batches
};

/// Whether a record was cut in a line that is not a JSON object. Otherwise the text is not a record: its
/// first line is followed by others, or does not begin with a brace.
bool IsCut(const QList<QByteArray>& lines, qsizetype line) {
  if (line > 0 || lines[0].isEmpty()) return true;
  return lines.size() == 1 && lines[0].startsWith('{');
}

}  // namespace

void AddVerdict(const Verdict& verdict, QJsonObject& fields) {
  fields["good"] = verdict.good;
  fields["verdict"] = QString::fromStdString(verdict.word);
  fields["evidence"] = QString::fromStdString(verdict.evidence);
  fields["reason"] = QString::fromStdString(verdict.reason);
  fields["advice"] = QString::fromStdString(verdict.advice);
}

QJsonObject RecordLine(const char* event, double seconds, QJsonObject fields) {
  fields["event"] = event;
  fields["seconds"] = std::round(seconds * 1000) / 1000;
  return fields;
}

QJsonObject JobFields(const JobFacts& job, const std::string& folder) {
  const int port = job.port.section(' ', 1).toInt();
  QJsonArray controllers;
  for (const int controller : job.controllers) controllers.push_back(controller);
  return {{"format", kRecordFormat},
          {"time", job.began.toString(Qt::ISODateWithMs)},
          {"kind", job.kind},
          {"tool", job.tool},
          {"port", job.port},
          {"adapter", port == 0 ? "" : QString::fromStdString(DescribePort(folder, port).text)},
          {"settings", job.settings},
          {"controllers", controllers}};
}

QString Sha256(const std::string& contents) {
  const auto size = static_cast<qsizetype>(contents.size());
  return QCryptographicHash::hash(QByteArray::fromRawData(contents.data(), size), QCryptographicHash::Sha256)
      .toHex();
}

/// The record is cut at the first line that is incomplete, or that consists of zero bytes because a power cut
/// came before its contents were written to the disk.
JobRecord ParseRecord(const QByteArray& text) {
  RecordParser parser;
  const QList<QByteArray> lines = text.split('\n');
  for (qsizetype i = 0; i < lines.size(); ++i) {
    const QJsonDocument line = QJsonDocument::fromJson(lines[i]);
    if (line.isObject()) {
      parser.Add(line.object());
    } else if (IsCut(lines, i)) {
      break;
    } else {
      throw std::runtime_error("it is not a job record");
    }
  }
  return parser.Finish();
}

JobRecord ReadRecord(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly))
    throw std::runtime_error("it can't be read: " + file.errorString().toStdString());
  return ParseRecord(file.readAll());
}

}  // namespace quillon
