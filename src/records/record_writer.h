#pragma once

#include <QByteArray>
#include <QFile>
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

  /// Begins the file "NAME.jsonl", or "NAME-2.jsonl" and so on if that exists.
  void Begin(const QString& name) { Queue({name, {}, false}); }
  /// Adds a line. `flush`: it and all lines before it are written to the disk.
  void Append(const QByteArray& line, bool flush) { Queue({{}, line, flush}); }

  /// Returns when all lines are written, and a failure is queued as an event of the calling thread.
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
