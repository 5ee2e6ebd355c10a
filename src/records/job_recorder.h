#pragma once

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "forms/run_events.h"
#include "image/missing_batches.h"
#include "records/record_writer.h"
#include "results/run_results.h"

namespace quillon {

/// What records contain beside the events.
struct RecordLabels {
  QString by;    ///< a name of the operator, or nothing
  QString file;  ///< the path of the file as it was given; empty: as the window shows it
};

/// Turns the events of runs into the lines of job records; docs/job-record.md documents them.
///
/// A record does not grow with the size of an image: batches are counted, and what went wrong is listed up to
/// a limit and counted beyond it.
class RecordLines {
 public:
  struct Line {
    QJsonObject fields;
    bool flush = false;  ///< a controller, or the run, came to its end
  };

  /// `folder` is the program's, for the description of ports.
  RecordLines(std::string folder, RecordLabels labels)
      : folder_(std::move(folder)), labels_(std::move(labels)) {}

  /// The lines of an event; none for most events.
  QList<Line> Of(const RunEvent& event);

 private:
  struct Tally {
    QJsonObject before;  ///< version and checksum as they were known, else empty
    QJsonObject after;
    int acknowledged = 0;
    int repeats = 0;
    int refusals = 0;
    int damaged = 0;
    int unanswered = 0;
    QMap<QString, int> listed;  ///< lines of each kind
  };

  void Add(const RunStarted& e);
  void Add(const ControllerBegun& e);
  void Add(const ControllerEnded& e);
  void Add(const ControllerFound& e);
  void Add(const SpeedChanged&) {}
  void Add(const FrameSent& e);
  void Add(const AnswerReceived& e);
  void Add(const CommandAnswered& e);
  void Add(const BatchBegun& e);
  void Add(const RowFilled& e);
  void Add(const StatusShown&) {}
  void Add(const RunFailure& e);
  void Add(const RunEnded& e);

  QJsonObject FileFacts();
  void Put(const char* event, QJsonObject fields, bool flush = false);
  /// A line about a controller, unless there are many of this kind already.
  void PutLimited(int controller, const QString& kind, const char* event, QJsonObject fields);
  /// Returns the gap of a controller that reports another checksum than that of the file.
  MissingBatches PutResult(int controller, const Tally& tally);

  const std::string folder_;
  const RecordLabels labels_;
  QList<Line> lines_;  ///< of the current event

  std::map<int, QJsonObject> known_;  ///< what each controller reported last, in earlier runs too

  RunResults results_;

  // The current run, or the last one.
  double time_ = 0;
  double began_ = 0;
  RunStarted run_{};
  bool underWay_ = false;
  std::optional<BatchSums> sums_;  ///< of the file, when it could be read
  std::map<int, Tally> tallies_;
  int current_ = kEveryController;
  int batch_ = 0;  ///< being sent, from 1; 0: none
  int batchesSent_ = 0;
  int errors_ = 0;
};

/// Writes a record of each run into a folder: a file for each, named by UTC time and kind, such as
/// "20261124T101112Z-parallel.jsonl". Lines are appended as events come.
class JobRecorder final : public RunObserver {
 public:
  JobRecorder(const QString& recordFolder, std::string programFolder, RecordLabels labels,
              std::function<void(const QString&)> onFailure)
      : lines_(std::move(programFolder), std::move(labels)), writer_(recordFolder, std::move(onFailure)) {}

  void OnRunEvent(const RunEvent& event) override;
  void Wait() { writer_.Wait(); }

 private:
  RecordLines lines_;
  RecordWriter writer_;
};

}  // namespace quillon
