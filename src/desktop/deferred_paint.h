#pragma once

#include <functional>

class QObject;

namespace quillon {

/// Updates of the screen that a run must not wait for, such as its status line, which changes faster than a
/// screen can show. An update is painted after 16 ms, or earlier when the run starts a pause that is long
/// enough. A text that is replaced earlier is never painted.
namespace deferred_paint {

/// Queues `work`. It is dropped if `owner` is destroyed first.
void Add(QObject& owner, std::function<void()> work);

/// Whether an update is queued.
bool IsPending();

/// Runs all queued work, layout and painting included, without handling any input of the operator.
void Do();

}  // namespace deferred_paint
}  // namespace quillon
