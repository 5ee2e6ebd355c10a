#include "desktop/serial_port.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <thread>
#include <tuple>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "platform/run_error.h"
#include "support/far_end.h"
#include "support/without_rights.h"

namespace quillon {
namespace {

using namespace std::chrono_literals;
using test::FarEnd;

constexpr int kPort = 7;

/// What a step raises; number 0 when it raises nothing.
RunError ErrorOf(const std::function<void()>& step) {
  try {
    step();
    return {RunError::Number{}, ""};
  } catch (const RunError& error) {
    EXPECT_FALSE(error.description.empty());
    return error;
  }
}

int NumberOf(const std::function<void()>& step) { return ErrorOf(step).number; }

class SerialPortTest : public testing::Test {
 protected:
  SerialPortTest() {
    LinkTo(line.Device(), kPort);
    // Each run of 256 bytes holds every value, and no two runs beside each other are alike.
    for (std::size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<std::uint8_t>(i * 31 ^ i >> 8);
  }

  void LinkTo(const std::string& device, int number) {
    const std::string link = home + "COM" + std::to_string(number);
    std::filesystem::remove(link);
    std::filesystem::create_symlink(device, link);
  }

  Bytes pattern = Bytes(200'000);
  DesktopClock clock;
  DesktopEvents events{clock};
  QTemporaryDir folder;
  FarEnd line;
  const std::string home = folder.path().toStdString() + "/";
  SerialPort port{home};
};

TEST_F(SerialPortTest, SetsAnySpeedWithTwoStopBitsAndNoParity) {
  port.Open(kPort, {9600});
  for (const int baud : {4800, 38400, 12345}) {
    port.Configure({baud});
    EXPECT_EQ(line.Settings().c_ospeed, static_cast<speed_t>(baud));
    EXPECT_EQ(line.Settings().c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS), CS8 | CSTOPB) << baud;
  }
}

TEST_F(SerialPortTest, EveryByteValuePassesUntouchedBothWays) {
  const Bytes all(pattern.begin(), pattern.begin() + 256);
  port.Open(kPort, {9600});
  port.Write(all);
  EXPECT_EQ(line.Receive(all.size()), all);
  line.Send(all);
  std::this_thread::sleep_for(20ms);
  QCoreApplication::processEvents();  // takes what came; operations take the rest
  for (int wait = 0; wait < 2000 && port.Waiting() < all.size(); ++wait) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(port.Read(), all);
}

TEST_F(SerialPortTest, WriteNeitherHoldsNorLosesNorReordersWhatALateReaderTakes) {
  port.Open(kPort, {9600});
  const double begin = clock.Now();
  for (std::size_t i = 0; i < pattern.size(); i += 1000) port.Write({pattern.data() + i, 1000});
  EXPECT_LT(clock.Now() - begin, 1.0);

  auto received = std::async(std::launch::async, [&] { return line.Receive(pattern.size(), 1ms); });
  while (received.wait_for(0ms) != std::future_status::ready)
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  EXPECT_TRUE(received.get() == pattern);
}

TEST_F(SerialPortTest, LetsBytesOutBeforeTheSpeedChangesOrThePortCloses) {
  for (const bool closes : {false, true}) {
    port.Open(kPort, {38400});
    port.Write(pattern);
    auto speedOnTheWay = std::async(std::launch::async, [&] {
      std::size_t count = line.Receive(pattern.size() / 2).size();  // the rest is more than the line holds
      const speed_t speed = line.Settings().c_ospeed;
      count += line.Receive(pattern.size() - count).size();
      EXPECT_EQ(count, pattern.size());
      return speed;
    });
    closes ? port.Close() : port.Configure({4800});
    EXPECT_EQ(speedOnTheWay.get(), 38400u);
    EXPECT_EQ(line.Settings().c_ospeed, closes ? 38400u : 4800u);
    port.Close();
  }
}

TEST_F(SerialPortTest, WhatALineThatStandsStillDidNotTakeNeverLeavesAtTheNextSpeed) {
  port.Open(kPort, {9600});
  port.Write(pattern);  // more than the line holds, and minutes of a line that works
  const double begin = clock.Now();
  port.Configure({4800});
  EXPECT_NEAR(clock.Now() - begin, 1.6, 0.5);
  port.Write({pattern.data(), 3});
  EXPECT_LT(line.Receive(pattern.size()).size(), 10'000u) << "more than stood at the far end already";
}

TEST_F(SerialPortTest, ALineThatBabblesHoldsNeitherTheWindowNorTheMemory) {
  std::atomic<bool> babbles = true;
  const auto babble = std::async(std::launch::async, [&] {
    while (babbles) line.Babble(pattern);
  });
  port.Open(kPort, {9600});
  double longest = 0;
  std::size_t most = 0;
  for (const double end = clock.Now() + 0.3; clock.Now() < end;) {
    const double begin = clock.Now();
    QCoreApplication::processEvents();
    most = std::max(most, port.Waiting());
    longest = std::max(longest, clock.Now() - begin);
  }
  EXPECT_LT(longest, 0.2);
  EXPECT_LE(most, std::size_t{1} << 20);
  EXPECT_GT(port.Read().size(), pattern.size()) << "it did not babble";
  port.Close();
  babbles = false;
}

TEST_F(SerialPortTest, ADeviceThatWentAwayKeepsNoEventLoopBusy) {
  {
    const FarEnd pulled;
    LinkTo(pulled.Device(), kPort);
    port.Open(kPort, {9600});
  }
  int passes = 0;
  for (const double end = clock.Now() + 0.2; clock.Now() < end - 0.05; ++passes) events.YieldUntil(end);
  EXPECT_LT(passes, 50);
  EXPECT_EQ(NumberOf([&] { port.Read(); }), RunError::kDeviceFailed);
}

TEST_F(SerialPortTest, DeviceThatGoesAwayFailsTheNextOperationAndTheNextOpeningWorks) {
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"Write", [&] { port.Write(pattern); }},
      {"Waiting", [&] { port.Waiting(); }},
      {"Read", [&] { port.Read(); }},
      {"Configure", [&] { port.Configure({19200}); }},
  };
  for (const auto& [name, operation] : cases) {
    std::string device;
    {
      const FarEnd pulled;
      device = pulled.Device();
      LinkTo(device, kPort);
      port.Open(kPort, {9600});
    }
    // The program that keeps the computer awake holds all that is open until it has begun.
    while (std::filesystem::exists(device)) std::this_thread::sleep_for(1ms);
    QCoreApplication::processEvents();
    EXPECT_EQ(NumberOf(operation), RunError::kDeviceFailed) << name;
    EXPECT_EQ(NumberOf([&] { port.Close(); }), 0) << name;
    EXPECT_EQ(NumberOf([&] { port.Open(kPort, {9600}); }), RunError::kInvalidPort) << name;
  }
  LinkTo(line.Device(), kPort);
  EXPECT_EQ(NumberOf([&] { port.Open(kPort, {9600}); }), 0);
}

TEST_F(SerialPortTest, EachReasonAgainstOpeningHasItsNumber) {
  std::ofstream(home + "notes.txt") << "no device";
  LinkTo(home + "notes.txt", 8);
  LinkTo("/dev/pulled-out", 9);
  LinkTo(line.Device(), 10);
  port.Open(kPort, {38400});
  SerialPort other(home);
  const auto failure = [&](int number) { return NumberOf([&] { other.Open(number, {9600}); }); };
  for (const int number : {8, 9, 98}) EXPECT_EQ(failure(number), RunError::kInvalidPort) << number;
  EXPECT_EQ(failure(10), RunError::kPortAlreadyOpen);
  EXPECT_EQ(line.Settings().c_ospeed, 38400u) << "an attempt to open a port in use must not touch it";
}

TEST_F(SerialPortTest, ALockFileOfAnotherProgramIsNamed) {
  const std::string lock = "/var/lock/LCK..pts_" + line.Device().substr(sizeof "/dev/pts");
  std::ofstream(lock) << "1\n";  // of a process that lives
  const RunError error = ErrorOf([&] { port.Open(kPort, {9600}); });
  EXPECT_EQ(error.number, RunError::kPortAlreadyOpen);
  EXPECT_NE(error.description.find(lock), std::string::npos) << error.description;
  std::ofstream(lock) << "999999999\n";  // of one that ended
  port.Open(kPort, {9600});
  int process = 0;
  std::ifstream(lock) >> process;
  EXPECT_EQ(process, getpid());
  port.Close();
  EXPECT_FALSE(std::filesystem::exists(lock));
}

TEST_F(SerialPortTest, ADeviceWithoutTheRightToItTellsWhomToAsk) {
  // A group that holds the right can be joined; the administrator's own can't.
  const std::tuple<mode_t, gid_t, bool> kDevices[] = {{0060, 5, true}, {0020, 5, false}, {0060, 0, false}};
  std::filesystem::permissions(home, std::filesystem::perms::all);
  for (const auto& [mode, group, named] : kDevices) {
    if (chown(line.Device().c_str(), getuid(), group) != 0) GTEST_SKIP() << "only an administrator can";
    chmod(line.Device().c_str(), mode);
    const test::WithoutRights withoutRights;
    const RunError error = ErrorOf([&] { port.Open(kPort, {9600}); });
    EXPECT_EQ(error.number, RunError::kPermissionDenied);
    EXPECT_EQ(error.description.find("usermod") != std::string::npos, named) << error.description;
  }
}

TEST_F(SerialPortTest, TheComputerIsAskedToStayAwakeWhileAPortIsOpen) {
  const QByteArray path = qgetenv("PATH");
  // In the place of the system's own program. It never hears an end of its input, as while the bus is silent.
  std::ofstream(home + "systemd-inhibit") << "#!/bin/sh\necho $$ \"$*\" >" + home + "asked\nexec sleep 60\n";
  std::filesystem::permissions(home + "systemd-inhibit", std::filesystem::perms::owner_all);
  qputenv("PATH", QByteArray::fromStdString(home + ":") + path);
  for (const bool answered : {true, false}) {
    const double begin = clock.Now();
    port.Open(kPort, {9600});
    EXPECT_LT(clock.Now() - begin, 0.05);
    pid_t process = 0;
    std::string words;
    while (answered && words.empty() && clock.Now() - begin < 5) {
      QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
      std::getline(std::ifstream(home + "asked") >> process, words);
    }
    if (answered) {
      EXPECT_EQ(words, " --what=sleep:idle --who=Quillon --why=a port is open --mode=block cat");
      EXPECT_EQ(kill(process, 0), 0) << "the request must be held";
    }
    const double end = clock.Now();
    port.Close();
    EXPECT_LT(clock.Now() - end, 0.05);
    if (answered) {
      EXPECT_NE(kill(process, 0), 0);
    }
  }
  qputenv("PATH", "/nowhere");
  port.Open(kPort, {9600});
  port.Close();
  qputenv("PATH", path);
}

TEST_F(SerialPortTest, AThousandOpeningsLeaveNeitherDescriptorsNorProcesses) {
  const auto openAndCountDescriptors = [&] {
    port.Open(kPort, {9600});
    QCoreApplication::processEvents();
    port.Close();
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = openAndCountDescriptors();
  for (int i = 0; i < 998; ++i) openAndCountDescriptors();
  EXPECT_EQ(openAndCountDescriptors(), before);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process that keeps the computer awake is left";
}

TEST_F(SerialPortTest, TellsTheDeviceOfAPort) {
  EXPECT_EQ(PortDevice("/nowhere/", 1), "/dev/ttyS0");
  EXPECT_EQ(PortDevice("/nowhere/", 33), "/dev/ttyUSB0");
  EXPECT_EQ(PortDevice("/nowhere/", 65), "/dev/ttyACM0");
  EXPECT_EQ(PortDevice("/nowhere/", 97), "");
  EXPECT_EQ(port.Describe(kPort).text, line.Device());
  LinkTo("/dev/pulled-out", 9);
  EXPECT_EQ(port.Describe(9).text, home + "COM9 (not there)");
  EXPECT_EQ(port.Describe(98).text, "No device. Link COM98 to one beside the program.");
}

/// A tree of facts like the system's own, with 32 USB adapters and one port that is on a card.
class MadeUpFacts : public SerialPortTest {
 protected:
  MadeUpFacts() {
    std::filesystem::create_directories(facts + "class/tty");
    for (int i = 0; i < 32; ++i) {
      const std::string adapter = "devices/pci/usb1/1-" + std::to_string(i) + "/";
      Tell(adapter + "idVendor", "0403");
      AddTerminal("ttyUSB" + std::to_string(i), adapter + "1-0:1.0/ttyUSB" + std::to_string(i), 33 + i);
    }
    AddTerminal("ttyS0", "devices/pci/0000:00:16.3", 1);
  }

  void Tell(const std::string& name, const std::string& fact) {
    const std::filesystem::path file = facts + name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << fact << "\n";
  }

  void AddTerminal(const std::string& name, const std::string& place, int number) {
    std::filesystem::create_directories(facts + place);
    std::filesystem::create_directories(facts + "class/tty/" + name);
    std::filesystem::create_directory_symlink(facts + place, facts + "class/tty/" + name + "/device");
    std::ofstream(home + name) << "";
    LinkTo(home + name, number);
  }

  const std::string facts = home + "facts/";
};

TEST_F(MadeUpFacts, TellWhoMadeAnAdapterAndWhichPortsAreThere) {
  const std::string adapter = "devices/pci/usb1/1-4/";
  Tell("devices/pci/usb1/idVendor", "1d6b");
  Tell("devices/pci/usb1/manufacturer", "the hub's");
  Tell(adapter + "product", "FT232R USB UART");
  const auto lines = [&](int number) { return DescribePort(home, number, facts).text; };
  EXPECT_EQ(lines(37), home + "ttyUSB4\nFT232R USB UART");
  Tell(adapter + "manufacturer", "FTDI");
  Tell(adapter + "serial", "A50285BI");
  EXPECT_EQ(lines(37), home + "ttyUSB4\nFTDI, FT232R USB UART, serial number A50285BI");
  EXPECT_EQ(lines(38), home + "ttyUSB5");
  EXPECT_EQ(lines(1), home + "ttyS0");
  Tell("class/tty/ttyS0/type", "0");  // no hardware
  const std::pair<int, bool> kPorts[] = {{1, false}, {37, true}, {98, false}};
  for (const auto& [number, there] : kPorts)
    EXPECT_EQ(DescribePort(home, number, facts).there, there) << number;
}

TEST_F(MadeUpFacts, OfAllPortsAreFoundAtOnce) {
  for (int i = 0; i < 32; ++i) Tell("devices/pci/usb1/1-" + std::to_string(i) + "/serial", "A5");
  const double begin = clock.Now();
  int adapters = 0;
  for (int number = 1; number <= 99; ++number) {
    adapters += DescribePort(home, number, facts).text.find("serial number") != std::string::npos;
  }
  EXPECT_LT(clock.Now() - begin, 0.05);
  EXPECT_EQ(adapters, 32);
}

}  // namespace
}  // namespace quillon
