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

/// Writes the lines of job records into files of a folder, on a thread of its own: neither a slow disk nor a
/// flush delays a run.
class RecordWriter {
 public:
  /// `onFailure` is called once at most, with a sentence for the operator, from the events of this thread.
  /// Later files are tried again.
  RecordWriter(QString folder, std::function<void(const QString&)> onFailure);
  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;
  ~RecordWriter();  ///< after all is written

  /// The next lines go into a new file "NAME.jsonl", or "NAME-2.jsonl" and so on when that exists.
  void Begin(const QString& name) { Queue({name, {}, false}); }
  /// `flush`: the line and all before it go to the disk itself.
  void Append(const QByteArray& line, bool flush) { Queue({{}, line, flush}); }

  /// Returns when all is written. A failure is then among the events of this thread.
  void Wait();

 private:
  struct Item {
    QString newFile;  ///< or the next two
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

  std::mutex mutex_;  ///< of the two below
  std::deque<Item> items_;
  bool ending_ = false;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace quillon
