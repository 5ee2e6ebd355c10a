// Writes job records in a thread of its own, so that a slow disk does not delay a run:
//
//     Write (window thread) -> items_ -> Work (own thread) -> file_
//
// An item either begins a new file or is a line for the current one. The first failure is reported in the
// window thread.
#include "records/record_writer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <utility>

#include "platform/system_files.h"

namespace quillon {

RecordWriter::RecordWriter(QString folder, std::function<void(const QString&)> onFailure)
    : folder_(std::move(folder)), onFailure_(std::move(onFailure)), thread_([this] { Work(); }) {}

RecordWriter::~RecordWriter() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void RecordWriter::Queue(Item item) {
  {
    const std::lock_guard lock(mutex_);
    items_.push_back(std::move(item));
  }
  changed_.notify_all();
}

void RecordWriter::Write(const QJsonObject& line, bool flush) {
  if (line["event"] == "job") {
    const QDateTime time = QDateTime::fromString(line["time"].toString(), Qt::ISODateWithMs);
    Queue({time.toString("yyyyMMdd'T'HHmmss'Z'-") + line["kind"].toString(), {}, false});
  }
  Queue({{}, QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n', flush});
}

void RecordWriter::Wait() {
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return items_.empty(); });
  }
  QCoreApplication::sendPostedEvents(&context_);
}

/// Removes an item after its execution, so that an empty queue means that all is written.
void RecordWriter::Work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !items_.empty(); });
    if (items_.empty()) return;
    const Item item = items_.front();
    lock.unlock();
    Execute(item);
    lock.lock();
    items_.pop_front();
    changed_.notify_all();
  }
}

void RecordWriter::Execute(const Item& item) {
  if (!item.newFile.isEmpty()) return Open(item.newFile);
  if (!file_.isOpen()) return;
  const bool written = file_.write(item.line) == item.line.size();
  if (!written || (item.flush && !system_files::Flush(file_.handle()))) Fail();
}

void RecordWriter::Open(const QString& name) {
  constexpr int kMostInASecond = 1000;
  file_.close();
  for (int number = 1; number <= kMostInASecond; ++number) {
    const QString suffix = number == 1 ? "" : "-" + QString::number(number);
    file_.setFileName(QDir(folder_).filePath(name + suffix + ".jsonl"));
    if (file_.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) return;
    if (!file_.exists()) break;
  }
  Fail();
}

void RecordWriter::Fail() {
  const QString reason = "The job record \"" + QDir::toNativeSeparators(file_.fileName()) +
                         "\" can't be written (" + file_.errorString() + "). The run goes on without it.";
  file_.close();
  if (std::exchange(failed_, true)) return;  // only the first failure is reported
  QMetaObject::invokeMethod(
      &context_, [this, reason] { onFailure_(reason); }, Qt::QueuedConnection);
}

}  // namespace quillon
