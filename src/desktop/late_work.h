#pragma once

#include <functional>

class QObject;

namespace quillon {

/// Work for the screen alone, such as the status line of a run, which changes faster than a screen shows. It
/// is done after 16 ms, or before that at the start of a pause that is long enough for it. So what stands
/// longer is always seen, and what changes at once again costs a run next to nothing.
namespace late_work {

/// Does `work` later, unless `owner` is gone by then.
void Add(QObject& owner, std::function<void()> work);

/// Does what is due, layout and painting included. No event of the operator is served.
void Do();

}  // namespace late_work
}  // namespace quillon
