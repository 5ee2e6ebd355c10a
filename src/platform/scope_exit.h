#pragma once

#include <utility>

namespace quillon {

/// Runs `action` when the scope ends, by return or by exception. `action` must not throw.
template <class Action>
class ScopeExit {
 public:
  explicit ScopeExit(Action action) : action_(std::move(action)) {}
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;
  ~ScopeExit() { action_(); }

 private:
  Action action_;
};

}  // namespace quillon
