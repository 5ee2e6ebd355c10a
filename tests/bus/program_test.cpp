// The program itself. Its line is that of bus_test.cpp; quillon-unattended uses it in each of its tests, also
// with a pulled cable.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>

#include "bus/frame.h"
#include "support/program_folder.h"

namespace bus {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

class Program : public quillon::test::ProgramFolder {
 protected:
  Program() : ProgramFolder(QUILLON_BUS_PROGRAM, QUILLON_BUS_PROGRAM) {}

  const std::string link_ = folder_ + "COM7";
};

TEST_F(Program, AnswersInRealTimeBehindATerminalThatIsRaw) {
  StartBus("--count 4");
  const int port = open(link_.c_str(), O_RDWR | O_NOCTTY);
  termios settings{};
  ASSERT_EQ(tcgetattr(port, &settings), 0);
  EXPECT_EQ(settings.c_lflag & (ICANON | ECHO), 0U);
  settings.c_cflag |= CSTOPB;
  cfsetspeed(&settings, B4800);
  const Bytes check = CloseFrame({0x40, 3, 1, 0x73});
  constexpr std::size_t kAnswer = 13;  // bytes
  pollfd waiting{port, POLLIN, 0};
  for (const bool rightSpeed : {false, true}) {
    if (rightSpeed) cfsetspeed(&settings, B9600);
    ASSERT_EQ(tcsetattr(port, TCSANOW, &settings), 0);
    const auto sent = std::chrono::steady_clock::now();
    ASSERT_EQ(write(port, check.data(), check.size()), std::ssize(check));
    std::size_t received = 0;
    for (std::uint8_t byte = 0; received < kAnswer && poll(&waiting, 1, 300) > 0; ++received)
      if (read(port, &byte, 1) != 1) break;
    EXPECT_EQ(received, rightSpeed ? kAnswer : 0);
    EXPECT_GE(std::chrono::steady_clock::now() - sent, TimeOf(check.size() + kAnswer, {9600}) + 5ms);
  }
  close(port);
}

TEST_F(Program, KeepsOthersFromItsLinkAndRemovesNoLinkButItsOwn) {
  quillon::test::StartedProgram& bus = StartBus("--count 4");
  fs::create_symlink(link_, folder_ + "COM8");
  fs::create_symlink("/dev/serial/by-id/unplugged", folder_ + "COM9");
  std::ofstream(folder_ + "log") << "of the living bus";
  const std::pair<const char*, const char*> kTaken[] = {{"COM7", "another quillon-bus serves it. End"},
                                                        {"COM8", "something else has that name. Remove"},
                                                        {"COM9", "something else has that name. Remove"}};
  for (const auto& [name, reason] : kTaken) {
    const std::string link = folder_ + name;
    quillon::test::StartedProgram second(
        WordsOf(program_, "--count 4 --log " + folder_ + "log --link " + link));
    EXPECT_THAT(second.ReadAll(), testing::HasSubstr(link + ": " + reason));
    EXPECT_EQ(second.Wait(), 1);
  }
  EXPECT_EQ(Read("log"), "of the living bus");
  EXPECT_EQ(bus.End(SIGTERM), 0);
  EXPECT_FALSE(fs::is_symlink(link_));

  quillon::test::StartedProgram& next = StartBus("--count 4");
  fs::remove(link_);
  fs::create_symlink("/dev/pts/other", link_);
  EXPECT_EQ(next.End(SIGTERM), 0);
  EXPECT_TRUE(fs::is_symlink(link_)) << "by then it was another bus's";
}

}  // namespace
}  // namespace bus
