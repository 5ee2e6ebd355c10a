#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

namespace quillon::test {

/// For a while no file can grow, as on a full disk.
class FullDisk {
 public:
  FullDisk() {
    signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before_), 0);
    const rlimit none{0, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() { EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before_), 0); }

 private:
  rlimit before_{};
};

}  // namespace quillon::test
