#pragma once

#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/computer.h"

namespace quillon::test {

/// The controllers' side of a pseudo-terminal. Only `Receive` reads there.
class FarEnd {
 public:
  FarEnd() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    EXPECT_TRUE(grantpt(master_) == 0 && unlockpt(master_) == 0);
  }
  ~FarEnd() { close(master_); }

  std::string Device() const { return ptsname(master_); }

  termios2 Settings() const {
    termios2 settings{};
    EXPECT_EQ(ioctl(master_, TCGETS2, &settings), 0);
    return settings;
  }

  void Send(const Bytes& bytes) { EXPECT_EQ(write(master_, bytes.data(), bytes.size()), std::ssize(bytes)); }

  /// Sends as many of the bytes as the line accepts.
  void SendSome(const Bytes& bytes) { (void)!write(master_, bytes.data(), bytes.size()); }

  /// Reads until `count` bytes are there, the port is closed, or nothing came for a second.
  Bytes Receive(std::size_t count, std::chrono::milliseconds pause = {}) {
    Bytes all;
    std::uint8_t chunk[1000];
    pollfd state{master_, POLLIN, 0};
    while (all.size() < count && poll(&state, 1, 1000) > 0) {
      const ssize_t got = read(master_, chunk, sizeof chunk);
      if (got < 0 && errno != EAGAIN) break;
      if (got > 0) all.insert(all.end(), chunk, chunk + got);
      std::this_thread::sleep_for(pause);
    }
    return all;
  }

 private:
  int master_;
};

}  // namespace quillon::test
