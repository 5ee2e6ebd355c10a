#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bus/frame.h"
#include "support/started_program.h"

namespace bus {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
const Bytes kCheck = CloseFrame({0x40, 3, 1, 0x73});
constexpr std::size_t kCheckAnswer = 13;  // bytes
constexpr int kSilence = 300;             // ms without a byte that count as no answer

/// The real program in a folder of its own, and a tool's end of its pseudo-terminal.
class Program : public testing::Test {
 protected:
  Program() {
    std::string pattern = (fs::temp_directory_path() / "quillon-bus-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    link_ = folder_ / "COM7";
  }

  ~Program() override {
    if (port_ >= 0) close(port_);
    program_.reset();
    fs::remove_all(folder_);
  }

  void Start(const std::vector<std::string>& options) {
    std::vector<std::string> words{QUILLON_BUS_PROGRAM, "--link", link_.string()};
    words.insert(words.end(), options.begin(), options.end());
    program_.emplace(words);
    EXPECT_THAT(program_->ReadLine(), testing::HasSubstr("/dev/pts/"));
  }

  void Open(speed_t speed) {
    if (port_ >= 0) close(port_);
    port_ = open(link_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    termios settings{};
    ASSERT_EQ(tcgetattr(port_, &settings), 0);
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO), 0U) << "raw from the start";
    settings.c_cflag |= CSTOPB;
    cfsetspeed(&settings, speed);
    ASSERT_EQ(tcsetattr(port_, TCSANOW, &settings), 0);
  }

  bool SendCheck() { return write(port_, kCheck.data(), kCheck.size()) == std::ssize(kCheck); }

  Bytes AskCheck() {
    EXPECT_TRUE(SendCheck());
    Bytes answer;
    pollfd waiting{port_, POLLIN, 0};
    while (answer.size() < kCheckAnswer && poll(&waiting, 1, kSilence) > 0) {
      std::uint8_t byte = 0;
      if (read(port_, &byte, 1) != 1) break;
      answer.push_back(byte);
    }
    return answer;
  }

  /// Waits until the bus has heard something, as its log says; at most five seconds.
  bool BusHasHeard(const std::string& log) {
    for (int look = 0; look < 500; ++look) {
      std::error_code absent;
      if (fs::file_size(log, absent) > 0 && !absent) return true;
      std::this_thread::sleep_for(10ms);
    }
    return false;
  }

  fs::path folder_;
  fs::path link_;
  std::optional<quillon::test::StartedProgram> program_;
  int port_ = -1;
};

TEST_F(Program, AnswersAtItsSpeedEachTimeThePortIsOpenedAndTakesItsLinkAway) {
  const std::string log = (folder_ / "log").string();
  Start({"--controller", "3,baud=19200", "--log", log});
  Open(B9600);
  EXPECT_TRUE(AskCheck().empty()) << "wrong speed";
  ASSERT_TRUE(BusHasHeard(log)) << "a frame heard late would be heard at the next speed";
  for (int opening = 0; opening < 3; ++opening) {
    Open(B19200);
    const auto sent = std::chrono::steady_clock::now();
    EXPECT_EQ(AskCheck().size(), kCheckAnswer) << opening;
    EXPECT_GE(std::chrono::steady_clock::now() - sent, TimeOf(7 + kCheckAnswer, {19200}) + 5ms);
  }
  EXPECT_EQ(program_->End(SIGTERM), 0);
  EXPECT_FALSE(fs::is_symlink(fs::symlink_status(link_)));
}

TEST_F(Program, TwoBusesDoNotTakeEachOthersLink) {
  const std::string log = (folder_ / "log").string();
  Start({"--count", "4", "--log", log});
  Open(B9600);
  EXPECT_EQ(AskCheck().size(), kCheckAnswer);
  fs::create_symlink(link_, folder_ / "COM8");
  fs::create_symlink("/dev/serial/by-id/unplugged", folder_ / "COM9");
  const std::pair<const char*, const char*> kTaken[] = {{"COM7", "another quillon-bus serves it. End"},
                                                        {"COM8", "something else has that name. Remove"},
                                                        {"COM9", "something else has that name. Remove"}};
  for (const auto& [name, reason] : kTaken) {
    const std::string link = (folder_ / name).string();
    quillon::test::StartedProgram second({QUILLON_BUS_PROGRAM, "--count", "4", "--log", log, "--link", link});
    EXPECT_THAT(second.ReadAll(), testing::HasSubstr(link + ": " + reason));
    EXPECT_EQ(second.Wait(), 1);
  }
  EXPECT_GT(fs::file_size(log), 0U) << "the log of the living bus";
  EXPECT_EQ(AskCheck().size(), kCheckAnswer);
  fs::remove(link_);
  fs::create_symlink("/dev/pts/other", link_);
  EXPECT_EQ(program_->End(SIGTERM), 0);
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(link_))) << "by then it was another bus's";
}

TEST_F(Program, APulledCableTakesThePortAwayAndBringsItBack) {
  Start({"--count", "4", "--unplug", "1,50"});
  Open(B9600);
  EXPECT_TRUE(AskCheck().empty());
  EXPECT_FALSE(SendCheck());
  for (int wait = 0; wait < 300 && !fs::exists(link_); ++wait) poll(nullptr, 0, 10);
  Open(B9600);
  EXPECT_EQ(AskCheck().size(), kCheckAnswer);
}

}  // namespace
}  // namespace bus
