#pragma once

#include <memory>

namespace quillon {

/// As long as one lives, the computer is asked not to go to sleep. Asking and taking back are quick, and in
/// silence: where nobody hears it, nothing changes.
class Awake {
 public:
  Awake();
  Awake(const Awake&) = delete;
  Awake& operator=(const Awake&) = delete;
  ~Awake();

 private:
  struct Request;
  std::unique_ptr<Request> request_;
};

}  // namespace quillon
