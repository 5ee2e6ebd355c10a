#include "desktop/serial_port.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <thread>
#include <tuple>

#include "desktop/desktop_clock.h"
#include "desktop/desktop_events.h"
#include "platform/run_error.h"
#include "support/without_rights.h"

namespace quillon {
namespace {

/// What an adapter does that a pseudo-terminal does not. It is asked in the place of the device.
struct Adapter {
  std::function<void(termios2&)> adapt;  // makes something else of the settings
  std::deque<int> leaving;            // what it answers when it is asked how many bytes are leaving; then 0
  std::vector<std::string> requests;  // what else it was asked for, in order

  /// Whether it answers a request itself.
  bool Answers(unsigned long request, void* argument) {
    if (request == TCSETS2 && adapt) adapt(*static_cast<termios2*>(argument));
    if (request == TCSETS2) requests.push_back(std::to_string(static_cast<termios2*>(argument)->c_ospeed));
    if (request == TCSBRK) requests.push_back("last bytes");
    if (request != TIOCOUTQ || leaving.empty()) return false;
    *static_cast<int*>(argument) = leaving.front();
    requests.push_back(std::to_string(leaving.front()) + " leaving");
    leaving.pop_front();
    return true;
  }
};
Adapter fakeAdapter;

}  // namespace
}  // namespace quillon

/// Replaces the C library's function, which the tool calls.
extern "C" int ioctl(int file, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  termios2 settings{};
  if (request == TCSETS2) argument = &(settings = *static_cast<termios2*>(argument));
  if (quillon::fakeAdapter.Answers(request, argument)) return 0;
  return static_cast<int>(syscall(SYS_ioctl, file, request, argument));
}

namespace quillon {
namespace {

using namespace std::chrono_literals;

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

constexpr int kPort = 7;

/// What a step raises; number 0 when it raises nothing.
RunError ErrorOf(const std::function<void()>& step) {
  try {
    step();
  } catch (const RunError& error) {
    return error;
  }
  return {RunError::Number{}, ""};
}

int NumberOf(const std::function<void()>& step) { return ErrorOf(step).number; }

class SerialPortTest : public testing::Test {
 protected:
  SerialPortTest() {
    LinkTo(line.Device(), kPort);
    // Each run of 256 bytes holds every value, and no two runs beside each other are alike.
    for (std::size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<std::uint8_t>(i * 31 ^ i >> 8);
  }

  ~SerialPortTest() override { fakeAdapter = {}; }

  void LinkTo(const std::string& device, int number) {
    const std::string link = home + "COM" + std::to_string(number);
    std::filesystem::remove(link);
    std::filesystem::create_symlink(device, link);
  }

  /// How often the event loop wakes.
  int PassesIn(double seconds) {
    int passes = 0;
    for (const double end = clock.Now() + seconds; clock.Now() < end - 0.05; ++passes) events.YieldUntil(end);
    return passes;
  }

  Bytes pattern = Bytes(200'000);
  DesktopClock clock;
  DesktopEvents events{clock};
  QTemporaryDir folder;
  FarEnd line;
  const std::string home = folder.path().toStdString() + "/";
  SerialPort port{home};
};

TEST_F(SerialPortTest, SetsAnySpeedWithTwoStopBitsNoParityAndNoModemLines) {
  tcflag_t wanted = 0;
  fakeAdapter.adapt = [&](const termios2& settings) { wanted = settings.c_cflag; };
  port.Open(kPort, {9600});
  for (const int baud : {4800, 38400, 12345}) {
    port.Configure({baud});
    EXPECT_EQ(line.Settings().c_ospeed, static_cast<speed_t>(baud));
    EXPECT_EQ(wanted & (CSIZE | PARENB | CSTOPB | CRTSCTS | CLOCAL | CREAD), CS8 | CSTOPB | CLOCAL | CREAD);
  }
}

TEST_F(SerialPortTest, ASpeedNearTheWantedOneIsTakenAndAnotherIsUndone) {
  port.Open(kPort, {4800});
  const std::pair<speed_t, bool> kSubstitutes[] = {{9880, true}, {9900, false}, {9320, true}, {9300, false}};
  for (const auto& [speed, taken] : kSubstitutes) {
    port.Configure({4800});
    fakeAdapter.adapt = [&, substitute = speed](termios2& settings) {
      if (settings.c_ospeed == 9600) settings.c_ospeed = settings.c_ispeed = substitute;
    };
    EXPECT_EQ(NumberOf([&] { port.Configure({9600}); }), taken ? 0 : RunError::kInvalidPropertyValue);
    EXPECT_EQ(line.Settings().c_ospeed, taken ? speed : 4800u);
  }
}

TEST_F(SerialPortTest, OpensWithoutWhatCameBeforeAndWithoutBecomingItsTerminal) {
  const int other = open(line.Device().c_str(), O_RDWR | O_NOCTTY);  // else nothing is kept for the opening
  termios2 raw{};
  ioctl(other, TCSETS2, &raw);
  line.Send({1, 2, 3});
  pollfd arrived{other, POLLIN, 0};
  ASSERT_EQ(poll(&arrived, 1, 1000), 1);
  const pid_t session = fork();
  if (session == 0) {
    setsid();
    SystemLine opened(home, kPort);
    std::vector<std::uint8_t> received;
    opened.Receive(received);
    _exit(received.empty() && open("/dev/tty", O_RDWR) < 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(session, &status, 0);
  EXPECT_EQ(status, 0);
  close(other);
}

TEST_F(SerialPortTest, EachByteValuePassesUnchangedAndInOrderBothWaysHoweverLateItIsRead) {
  port.Open(kPort, {9600});
  auto received = std::async(std::launch::async, [&] { return line.Receive(pattern.size(), 1ms); });
  for (std::size_t i = 0; i < pattern.size(); i += 1000) port.Write({pattern.data() + i, 1000});
  while (received.wait_for(0ms) != std::future_status::ready)
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  EXPECT_TRUE(received.get() == pattern);

  const Bytes all(pattern.begin(), pattern.begin() + 256);
  line.Send(all);
  std::this_thread::sleep_for(20ms);
  QCoreApplication::processEvents();  // reads what has arrived; operations read the rest
  for (int wait = 0; wait < 2000 && port.Waiting() < all.size(); ++wait) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(port.Read(), all);
}

TEST_F(SerialPortTest, WriteWaitsForTheOutputBufferAndAChangeOfSpeedForAllBytes) {
  port.Open(kPort, {9600});
  fakeAdapter.requests.clear();
  fakeAdapter.leaving = {2000, 513, 512, 300, 0};
  port.Write({pattern.data(), 100});
  EXPECT_EQ(fakeAdapter.leaving.size(), 2u);
  port.Configure({4800});
  EXPECT_EQ(fakeAdapter.requests,
            (std::vector<std::string>{"2000 leaving", "513 leaving", "512 leaving", "300 leaving",
                                      "0 leaving", "last bytes", "4800"}));
  fakeAdapter.leaving = {300, 0};
  port.Close();
  EXPECT_TRUE(fakeAdapter.leaving.empty());
}

TEST_F(SerialPortTest, AStalledLineHoldsEachStepForAMomentAndKeepsNoEventLoopBusy) {
  port.Open(kPort, {9600});
  const auto seconds = [&](const std::function<void()>& step) {
    const double begin = clock.Now();
    step();
    return clock.Now() - begin;
  };
  EXPECT_NEAR(seconds([&] { port.Write(pattern); }), 1.6, 0.5);  // more than the line holds
  EXPECT_NEAR(seconds([&] { port.Configure({4800}); }), 1.6, 0.5);
  port.Write({pattern.data(), 3});
  EXPECT_LT(line.Receive(pattern.size()).size(), 10'000u)
      << "what did not leave never leaves at the next speed";
  EXPECT_LT(PassesIn(0.2), 50);
}

TEST_F(SerialPortTest, ConstantNoiseDelaysNoEventsAndIsNotKeptWithoutLimit) {
  std::atomic<bool> noisy = true;
  const auto noise = std::async(std::launch::async, [&] {
    while (noisy) line.SendSome(pattern);
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
  port.Close();
  noisy = false;
  EXPECT_LT(longest, 0.2);
  EXPECT_GT(most, 10'000u) << "there was no noise";
  EXPECT_LE(most, std::size_t{1} << 20);
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
    // The program that keeps the computer awake has all open files until it has begun.
    while (std::filesystem::exists(device)) std::this_thread::sleep_for(1ms);
    EXPECT_LT(PassesIn(0.1), 50) << "the event loop is busy";
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

TEST_F(SerialPortTest, ALockFileOfALivingProcessIsNamedAndTheDeviceLeftAlone) {
  namespace fs = std::filesystem;
  const std::string lock = "/var/lock/LCK..pts_" + line.Device().substr(sizeof "/dev/pts");
  const pid_t zombie = fork();
  if (zombie == 0) _exit(0);
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(zombie), &ended, WEXITED | WNOWAIT);
  const pid_t young = fork();
  if (young == 0) {
    pause();
    _exit(0);
  }
  const struct {
    std::string process;
    std::chrono::minutes age;
    bool lives;
  } kFiles[] = {
      {"1", 0h, true},
      {"99999999999999999999", 0h, false},
      {std::to_string(zombie), 0h, false},
      {std::to_string(young), 1min, false},         // its number was another process's then
      {std::to_string(young), 24h * 10'000, true},  // the clock was set since
  };
  for (const auto& file : kFiles) {
    std::ofstream(lock) << file.process << "\n";
    fs::last_write_time(lock, fs::last_write_time(lock) - file.age);
    fakeAdapter.requests.clear();
    const RunError error = ErrorOf([&] { port.Open(kPort, {9600}); });
    EXPECT_EQ(error.number, file.lives ? RunError::kPortAlreadyOpen : 0) << file.process;
    EXPECT_EQ(error.description.find(lock) != std::string::npos, file.lives) << error.description;
    EXPECT_EQ(fakeAdapter.requests.empty(), file.lives);
    fs::remove(lock);
    port.Close();
  }
  waitpid(zombie, nullptr, 0);
  kill(young, SIGKILL);
  waitpid(young, nullptr, 0);
  ASSERT_EQ(mkfifo(lock.c_str(), 0666), 0);
  EXPECT_EQ(NumberOf([&] { port.Open(kPort, {9600}); }), 0);
  int process = 0;
  std::ifstream(lock) >> process;
  EXPECT_EQ(process, getpid());
  port.Close();
  EXPECT_FALSE(fs::exists(lock));
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
  // Replaces the system's program. Its input never ends, as while the bus of the system is silent.
  std::ofstream(home + "systemd-inhibit") << "#!/bin/sh\necho $$ \"$*\" >" + home + "asked\nexec sleep 60\n";
  std::filesystem::permissions(home + "systemd-inhibit", std::filesystem::perms::owner_all);
  qputenv("PATH", QByteArray::fromStdString(home + ":") + path);
  const double begin = clock.Now();
  port.Open(kPort, {9600});
  EXPECT_LT(clock.Now() - begin, 0.05);
  pid_t process = 0;
  std::string words;
  while (words.empty() && clock.Now() - begin < 5) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    std::getline(std::ifstream(home + "asked") >> process, words);
  }
  EXPECT_EQ(words, " --what=sleep:idle --who=Quillon --why=a port is open --mode=block cat");
  EXPECT_EQ(kill(process, 0), 0);
  const double end = clock.Now();
  port.Close();
  EXPECT_LT(clock.Now() - end, 0.05);
  EXPECT_NE(kill(process, 0), 0) << "the request did not end";

  qputenv("PATH", "/nowhere");
  port.Open(kPort, {9600});
  port.Close();
  qputenv("PATH", path);
}

TEST_F(SerialPortTest, AHundredOpeningsLeaveNeitherDescriptorsNorProcesses) {
  std::ptrdiff_t descriptors[100];
  for (std::ptrdiff_t& count : descriptors) {
    port.Open(kPort, {9600});
    QCoreApplication::processEvents();
    port.Close();
    count = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }
  EXPECT_EQ(descriptors[99], descriptors[0]);
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
  EXPECT_EQ(port.Describe(98).text, "No device. Link COM98 in the folder of the program to one.");
}

TEST_F(SerialPortTest, DescribesAPortFromTheFactsOfTheSystem) {
  namespace fs = std::filesystem;
  const std::string facts = home + "facts/";
  const auto addFact = [&](const std::string& name, const std::string& fact) {
    fs::create_directories(fs::path(facts + name).parent_path());
    std::ofstream(facts + name) << fact << "\n";
  };
  const auto addTerminal = [&](const std::string& name, const std::string& place, int number) {
    fs::create_directories(facts + place);
    fs::create_directories(facts + "class/tty/" + name);
    fs::create_directory_symlink(facts + place, facts + "class/tty/" + name + "/device");
    std::ofstream(home + name) << "";
    LinkTo(home + name, number);
  };
  const auto text = [&](int number) { return DescribePort(home, number, facts).text; };
  addTerminal("ttyS0", "devices/pci/0000:00:16.3", 1);
  for (const std::string number : {"4", "5"}) {
    const std::string adapter = "devices/pci/usb1/1-" + number + "/";
    addFact(adapter + "idVendor", "0403");
    addTerminal("ttyUSB" + number, adapter + "1-0:1.0/ttyUSB" + number, 33 + std::stoi(number));
  }
  addFact("devices/pci/usb1/idVendor", "1d6b");
  addFact("devices/pci/usb1/manufacturer", "the hub's");
  addFact("devices/pci/usb1/1-4/product", "FT232R USB UART");
  EXPECT_EQ(text(37), home + "ttyUSB4\nFT232R USB UART");
  addFact("devices/pci/usb1/1-4/manufacturer", "FTDI");
  addFact("devices/pci/usb1/1-4/serial", "A50285BI");
  EXPECT_EQ(text(37), home + "ttyUSB4\nFTDI, FT232R USB UART, serial number A50285BI");
  EXPECT_EQ(text(38), home + "ttyUSB5");
  EXPECT_EQ(text(1), home + "ttyS0");
  addFact("class/tty/ttyS0/type", "0");  // no hardware
  const std::pair<int, bool> kPorts[] = {{1, false}, {37, true}, {98, false}};
  for (const auto& [number, there] : kPorts)
    EXPECT_EQ(DescribePort(home, number, facts).exists, there) << number;
}

}  // namespace
}  // namespace quillon
