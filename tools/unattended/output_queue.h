#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace quillon {

/// Writes text to a stream from a thread of its own, so that a reader that stops reading never blocks the
/// caller: a write to a full pipe, or to a terminal stopped by Ctrl-S, waits until somebody reads.
///
///     OutputQueue output(stdout);
///     output.Write("Controller 1: good\n");           // returns at once
///     const bool complete = output.Finish(deadline);  // at the end: waits until all is written
///
/// After a Finish that failed, the thread may still be in the middle of a write and use the stream: end the
/// program by std::_Exit, since std::exit would wait for the stream.
class OutputQueue {
 public:
  explicit OutputQueue(std::FILE* stream);
  ~OutputQueue();

  /// Queues the text.
  void Write(std::string text);
  /// Queues the text and returns true, unless more than `limit` bytes wait to be written.
  bool WriteUnlessWaiting(std::string text, std::size_t limit);

  /// Waits until all is written, at most until `deadline`. Returns whether everything so far was written: not
  /// so when the reader is gone or stalled, or the disk is full.
  bool Finish(std::chrono::steady_clock::time_point deadline);

 private:
  struct State;
  static void WriteQueued(State& state);

  std::shared_ptr<State> state_;  // also of the thread, which outlives this object when the reader is stalled
  std::thread thread_;
};

}  // namespace quillon
