#include "desktop/serial_port.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <numeric>
#include <thread>

#include "desktop/desktop_clock.h"
#include "platform/run_error.h"
#include "scratch_folder.h"

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;

constexpr int kPort = 7;

/// What a step raises: the failure's number, or 0.
int NumberOf(const std::function<void()>& step) {
  try {
    step();
    return 0;
  } catch (const RunError& error) {
    EXPECT_FALSE(error.description.empty());
    return error.number;
  }
}

/// The far end of a line: the controllers' side of a pseudo-terminal.
class FarEnd {
 public:
  FarEnd() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    EXPECT_EQ(grantpt(master_), 0);
    EXPECT_EQ(unlockpt(master_), 0);
  }
  FarEnd(const FarEnd&) = delete;
  FarEnd& operator=(const FarEnd&) = delete;
  ~FarEnd() { GoAway(); }

  std::string Device() const { return ptsname(master_); }

  void GoAway() {
    if (master_ >= 0) close(master_);
    master_ = -1;
  }

  termios2 Settings() const {
    termios2 settings{};
    EXPECT_EQ(ioctl(master_, TCGETS2, &settings), 0);
    return settings;
  }

  int Speed() const { return static_cast<int>(Settings().c_ospeed); }

  void Send(const Bytes& bytes) { EXPECT_EQ(write(master_, bytes.data(), bytes.size()), std::ssize(bytes)); }

  /// Reads until `count` bytes are there, the port is closed, or nothing came for a second.
  Bytes Receive(std::size_t count, milliseconds pause = milliseconds(0)) {
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

class SerialPortTest : public testing::Test {
 protected:
  SerialPortTest() { folder.Link("COM7", line.Device()); }

  /// What arrives at the port, as soon as `count` bytes are there or two seconds are over.
  Bytes Await(std::size_t count) {
    const double end = clock.Now() + 2;
    while (port.Waiting() < count && clock.Now() < end) std::this_thread::sleep_for(milliseconds(1));
    return port.Read();
  }

  static Bytes Pattern(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 31 ^ i >> 8);
    return bytes;
  }

  DesktopClock clock;
  ScratchFolder folder;
  FarEnd line;
  SerialPort port{folder.Path()};
};

TEST_F(SerialPortTest, SetsAnySpeedWithTwoStopBitsAndNoParity) {
  port.Open(kPort, {9600});
  for (const int baud : {4800, 9600, 19200, 38400, 12345, 250000}) {
    port.Configure({baud});
    EXPECT_EQ(line.Speed(), baud);
    EXPECT_EQ(line.Settings().c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS), CS8 | CSTOPB) << baud;
    EXPECT_EQ(line.Settings().c_iflag & (IXON | IXOFF), 0u) << baud;
  }
}

TEST_F(SerialPortTest, EveryByteValuePassesUntouchedBothWays) {
  Bytes all(256);
  std::iota(all.begin(), all.end(), std::uint8_t{0});
  port.Open(kPort, {9600});

  port.Write(all);
  EXPECT_EQ(line.Receive(all.size()), all);
  line.Send(all);
  EXPECT_EQ(Await(all.size()), all);
  EXPECT_EQ(port.Waiting(), 0u);
}

TEST_F(SerialPortTest, BytesTakenAtEventsStayInOrderWithTheRest) {
  port.Open(kPort, {9600});
  line.Send({1, 2, 3});
  std::this_thread::sleep_for(milliseconds(20));
  QCoreApplication::processEvents();
  line.Send({4, 5, 6});
  EXPECT_EQ(Await(6), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST_F(SerialPortTest, WriteNeitherHoldsNorLosesNorReordersWhatALateReaderTakes) {
  const Bytes sent = Pattern(200'000);
  port.Open(kPort, {9600});
  const double begin = clock.Now();
  for (std::size_t i = 0; i < sent.size(); i += 1000) port.Write({sent.data() + i, 1000});
  EXPECT_LT(clock.Now() - begin, 1.0);

  Bytes received;
  std::atomic<bool> over = false;
  std::thread reader([&] {
    received = line.Receive(sent.size(), milliseconds(1));
    over = true;
  });
  while (!over) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  reader.join();
  EXPECT_TRUE(received == sent) << received.size() << " of " << sent.size() << " bytes";
}

TEST_F(SerialPortTest, LetsBytesOutBeforeTheSpeedChanges) {
  const Bytes sent = Pattern(200'000);
  port.Open(kPort, {38400});
  port.Write(sent);
  Bytes received;
  int speedOnTheWay = 0;
  std::thread reader([&] {
    received = line.Receive(sent.size() / 2);  // the rest is more than the line holds
    speedOnTheWay = line.Speed();
    const Bytes rest = line.Receive(sent.size() - received.size());
    received.insert(received.end(), rest.begin(), rest.end());
  });
  port.Configure({4800});
  reader.join();
  EXPECT_TRUE(received == sent) << received.size() << " of " << sent.size() << " bytes";
  EXPECT_EQ(speedOnTheWay, 38400);
  EXPECT_EQ(line.Speed(), 4800);
}

TEST_F(SerialPortTest, LetsBytesOutBeforeItCloses) {
  const Bytes sent = Pattern(200'000);
  port.Open(kPort, {38400});
  port.Write(sent);
  Bytes received;
  std::thread reader([&] { received = line.Receive(sent.size()); });
  port.Close();
  reader.join();
  EXPECT_TRUE(received == sent) << received.size() << " of " << sent.size() << " bytes";
}

TEST_F(SerialPortTest, LineThatStandsStillDelaysClosingByASecondAtMost) {
  port.Open(kPort, {4'000'000});
  port.Write(Pattern(100'000));
  const double begin = clock.Now();
  port.Close();
  EXPECT_LT(clock.Now() - begin, 100'000 * 11 / 4e6 + 1 + 0.5);
}

TEST_F(SerialPortTest, OpeningDropsWhatCameBefore) {
  line.Send({0x31, 0x32, '\n'});
  port.Open(kPort, {9600});
  line.Send({0x68});
  EXPECT_EQ(Await(1), Bytes{0x68});
}

TEST_F(SerialPortTest, DeviceThatGoesAwayFailsTheNextOperationAndTheNextOpeningWorks) {
  const Bytes byte{0x55};
  const struct {
    const char* name;
    std::function<void()> operation;
  } cases[] = {
      {"Write", [&] { port.Write(byte); }},
      {"Waiting", [&] { port.Waiting(); }},
      {"Read", [&] { port.Read(); }},
      {"Configure", [&] { port.Configure({19200}); }},
  };
  for (const auto& row : cases) {
    FarEnd pulled;
    folder.Link("COM7", pulled.Device());
    port.Open(kPort, {9600});
    pulled.GoAway();
    QCoreApplication::processEvents();
    EXPECT_EQ(NumberOf(row.operation), RunError::kDeviceFailed) << row.name;
    EXPECT_EQ(NumberOf([&] { port.Close(); }), 0) << row.name;
    EXPECT_EQ(NumberOf([&] { port.Open(kPort, {9600}); }), RunError::kInvalidPort) << row.name;
  }
  folder.Link("COM7", line.Device());
  port.Open(kPort, {9600});
  port.Write(byte);
  EXPECT_EQ(line.Receive(1), byte);
}

TEST_F(SerialPortTest, WhatCanNotBeOpenedIsToldApart) {
  std::ofstream(folder.Path() + "notes.txt") << "no device";
  folder.Link("COM8", folder.Path() + "notes.txt");
  folder.Link("COM9", "/dev/pulled-out");
  folder.Link("COM10", line.Device());
  port.Open(kPort, {38400});
  const struct {
    const char* name;
    int number;
    int failure;
  } cases[] = {
      {"FileBehindLink", 8, RunError::kInvalidPort},
      {"LinkToNothing", 9, RunError::kInvalidPort},
      {"NoLink", 98, RunError::kInvalidPort},
      {"InUse", 10, RunError::kPortAlreadyOpen},
  };
  for (const auto& row : cases) {
    SerialPort other(folder.Path());
    EXPECT_EQ(NumberOf([&] { other.Open(row.number, {9600}); }), row.failure) << row.name;
  }
  EXPECT_EQ(line.Speed(), 38400) << "an attempt to open a port in use must not touch it";
}

TEST(DesktopClockTest, PausesAreNeverShort) {
  DesktopClock clock;
  for (int i = 0; i < 50; ++i) {
    const double end = clock.Now() + 0.0001 * i;
    clock.SleepUntil(end);
    EXPECT_GE(clock.Now(), end);
  }
}

}  // namespace
}  // namespace quillon
