#pragma once

#include <QByteArray>
#include <QFile>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace quillon {

/// Writes job records into files of a folder, in its own thread, so that a slow disk does not delay a run.
class RecordWriter {
 public:
  /// `onFailure` is called for the first failure, with a sentence for the operator, on the calling thread
  /// while it handles events. Later files are tried again.
  RecordWriter(QString folder, std::function<void(const QString&)> onFailure);
  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;
  ~RecordWriter();  ///< writes the queued lines first

  /// Appends a line. One whose event is `job` begins a file, named after its time and kind:
  /// "20261124T101112Z-parallel.jsonl", or "20261124T101112Z-parallel-2.jsonl" and so on if that exists.
  /// `flush`: the line and all lines before it are written to the disk.
  void Write(const QJsonObject& line, bool flush);

  /// Returns when all lines are written. A failure was then reported.
  void Wait();

 private:
  struct Item {
    QString newFile;  ///< name of a file to begin; empty: a line
    QByteArray line;
    bool flush;
  };

  void Queue(Item item);
  void Work();
  void Execute(const Item& item);
  void Open(const QString& name);
  void Fail();

  const QString folder_;
  std::function<void(const QString&)> onFailure_;
  QObject context_;  ///< receives the failure
  bool failed_ = false;
  QFile file_;

  std::mutex mutex_;  ///< protects items_ and ending_
  std::deque<Item> items_;
  bool ending_ = false;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace quillon
