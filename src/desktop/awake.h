#pragma once

#include <memory>

namespace quillon {

/// Prevents the sleep of the computer as long as an object exists. Failures are ignored.
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
