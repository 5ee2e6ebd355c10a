// Writes text from a thread of its own, since a write blocks while the reader stalls:
//
//     Write (any thread) -> State::waiting -> WriteQueued (own thread) -> stream
//
// The thread may still be in a blocked write when the queue is destroyed. It is then detached, and State is
// shared so that it exists for as long as the thread uses it.
#include "unattended/output_queue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace quillon {

struct OutputQueue::State {
  explicit State(std::FILE* output) : stream(output) {}

  std::FILE* const stream;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::string> waiting;  // the first one is being written
  std::size_t waitingBytes = 0;
  bool failed = false;  // a text could not be written
  bool closed = false;
};

OutputQueue::OutputQueue(std::FILE* stream) : state_(std::make_shared<State>(stream)) {
  thread_ = std::thread([state = state_] { WriteQueued(*state); });
}

OutputQueue::~OutputQueue() {
  bool idle = false;
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
    idle = state_->waiting.empty();
  }
  state_->changed.notify_all();
  if (idle) {
    thread_.join();
  } else {
    thread_.detach();
  }
}

void OutputQueue::Write(std::string text) { WriteUnlessWaiting(std::move(text), SIZE_MAX); }

bool OutputQueue::WriteUnlessWaiting(std::string text, std::size_t limit) {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->waitingBytes > limit) return false;
    state_->waitingBytes += text.size();
    state_->waiting.push_back(std::move(text));
  }
  state_->changed.notify_all();
  return true;
}

bool OutputQueue::Finish(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(state_->mutex);
  const bool written = state_->changed.wait_until(lock, deadline, [&] { return state_->waiting.empty(); });
  return written && !state_->failed;
}

void OutputQueue::WriteQueued(State& state) {
  std::unique_lock lock(state.mutex);
  while (true) {
    state.changed.wait(lock, [&] { return state.closed || !state.waiting.empty(); });
    if (state.waiting.empty()) return;
    const std::string& text = state.waiting.front();  // a deque keeps its elements in place
    lock.unlock();
    const bool complete = std::fwrite(text.data(), 1, text.size(), state.stream) == text.size();
    const bool written = std::fflush(state.stream) == 0 && complete;
    lock.lock();
    state.failed = state.failed || !written;
    state.waitingBytes -= text.size();
    state.waiting.pop_front();
    state.changed.notify_all();
  }
}

}  // namespace quillon
