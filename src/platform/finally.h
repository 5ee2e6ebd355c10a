#pragma once

#include <utility>

namespace quillon {

/// Does something at the end of a scope, however it is left. It must not raise.
template <class Action>
class Finally {
 public:
  explicit Finally(Action action) : action_(std::move(action)) {}
  Finally(const Finally&) = delete;
  Finally& operator=(const Finally&) = delete;
  ~Finally() { action_(); }

 private:
  Action action_;
};

}  // namespace quillon
