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

/// Texts that are added to records.
struct RecordLabels {
  QString by;    ///< the name of the operator; empty: none
  QString file;  ///< the path of the file as it was given; empty: the path in the window
};

/// Turns the events of runs into the lines of job records; docs/job-record.md documents them. The size of a
/// record is limited: batches are counted, and only the first faults of a kind are listed.
class RecordLines {
 public:
  struct Line {
    QJsonObject fields;
    bool flush = false;  ///< to the disk: a step of a controller begins or ends, or the run
  };

  /// `folder` is the program's folder, for the description of the port.
  RecordLines(std::string folder, RecordLabels labels)
      : folder_(std::move(folder)), labels_(std::move(labels)) {}

  /// The lines for an event; most events have none.
  QList<Line> Of(const RunEvent& event);

 private:
  struct Tally {
    QJsonObject before;  ///< version and checksum before the run; empty: unknown
    QJsonObject after;
    int acknowledged = 0;
    int repeats = 0;
    int refusals = 0;
    int damaged = 0;
    int unanswered = 0;
    QMap<QString, int> listed;  ///< number of lines of each kind
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
  /// Adds a line about a controller, unless the limit for this kind is reached.
  void PutLimited(int controller, const QString& kind, const char* event, QJsonObject fields);
  /// Returns the batches that may be missing when the checksum differs from that of the file.
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

/// Writes a record of each run as a file in a folder. The name consists of UTC time and kind:
/// "20261124T101112Z-parallel.jsonl".
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
