#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace quillon::test {

/// Takes an administrator's rights away for a while; anybody else has none.
class WithoutRights {
 public:
  WithoutRights() { Become(65534); }
  ~WithoutRights() { Become(0); }

 private:
  static void Become(id_t id) {
    if (getuid() != 0) return;
    EXPECT_EQ(id == 0 ? seteuid(id) + setegid(id) : setegid(id) + seteuid(id), 0);
  }
};

}  // namespace quillon::test
