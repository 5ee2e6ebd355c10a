#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <map>
#include <string>
#include <vector>

#include "results/verdict.h"

namespace quillon {

inline constexpr int kRecordFormat = 1;  ///< the version of the format that docs/job-record.md documents

/// The SHA-256 of a file's contents as hex digits.
QString Sha256(const std::string& contents);

/// A line of a record: the fields, the event, and the seconds since the run began.
QJsonObject RecordLine(const char* event, double seconds, QJsonObject fields);

/// Adds the fields of a verdict: `good`, `verdict`, `evidence`, `reason` and `advice`.
void AddVerdict(const Verdict& verdict, QJsonObject& fields);

/// The contents of the first line of each record.
struct JobFacts {
  QString kind;
  QString tool;  ///< name and version of the program
  QDateTime began;
  QString port;  ///< such as "COM 33"
  std::vector<int> controllers;
  QJsonObject settings;
};
/// The fields of the first line. The adapter is asked for its description; `folder` is the program's.
QJsonObject JobFields(const JobFacts& job, const std::string& folder);

/// The part of a job record about one controller.
struct ControllerRecord {
  /// How far the download of this controller had come.
  enum class Progress {
    kUntouched,  ///< nothing that changes its flash was sent
    kErasing,    ///< it may be erased
    kErased,     ///< it is erased, and may have a part of the image
    kConfirmed,  ///< it confirmed the full checksum
  } progress = Progress::kUntouched;
  bool allAcknowledged = false;  ///< it acknowledged every batch of a serial download
  bool done = false;             ///< the record contains its result

  QJsonObject before;  ///< "version" and "checksum"; empty: unknown
  QJsonObject after;
  int acknowledged = 0;  ///< batches; 0 in a parallel download
  int repeats = 0;
  int refusals = 0;                ///< refused commands of all kinds
  bool lastChangeRefused = false;  ///< the last reply to a command that changes its flash was a refusal
  int damaged = 0;
  int unanswered = 0;
  QString failure;  ///< the text of a failed row, such as "Communication ERROR"

  bool good = false;
  QString verdict;  ///< a word of docs/manual.md, or "cut"
  QString evidence;
  QString reason;
  QString advice;
  QString gap;  ///< missing batches that would explain its checksum
};

/// A parsed job record. A record may be cut at any byte, by a crash or a power cut: the rest is then missing.
struct JobRecord {
  QJsonObject job;  ///< the first line; empty when the record was cut within it
  std::map<int, ControllerRecord> controllers;
  int batches = 0;     ///< begun in the last pass
  QString errors;      ///< texts of run-error boxes, one a line
  double seconds = 0;  ///< from the beginning of the run to the last line
  QString ending;      ///< how the run ended; empty when the record was cut
  QString cut;         ///< where the run was cut, as a sentence; empty when it was not
  QString gaps;        ///< what the gaps of several controllers have in common

  QString Kind() const { return job["kind"].toString(); }
  QJsonObject File() const { return job["file"].toObject(); }
  QDateTime Time() const { return QDateTime::fromString(job["time"].toString(), Qt::ISODateWithMs); }
};

/// Parses the text of a record. Raises std::runtime_error when it is not a job record, has a newer format or
/// names a controller that cannot exist. A controller has one result: further ones are ignored.
JobRecord ParseRecord(const QByteArray& text);

/// Parses a file. Also raises std::runtime_error when it can't be read.
JobRecord ReadRecord(const QString& path);

}  // namespace quillon
