#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/bus/talk.h"

namespace bus {
namespace {

namespace fs = std::filesystem;
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
    Close();
    if (process_ > 0) End(SIGKILL);
    if (output_ >= 0) close(output_);
    fs::remove_all(folder_);
  }

  void Start(std::vector<std::string> arguments) {
    std::array<int, 2> pipeEnds{};
    ASSERT_EQ(pipe(pipeEnds.data()), 0);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, pipeEnds[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&files, pipeEnds[0]);
    arguments.insert(arguments.begin(), {QUILLON_BUS_PROGRAM, "--link", link_.string()});
    std::vector<char*> words;
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    ASSERT_EQ(posix_spawn(&process_, QUILLON_BUS_PROGRAM, &files, nullptr, words.data(), environ), 0);
    posix_spawn_file_actions_destroy(&files);
    close(pipeEnds[1]);
    if (output_ >= 0) close(output_);
    output_ = pipeEnds[0];
    firstLine_.clear();
    char letter = 0;
    while (read(output_, &letter, 1) == 1 && letter != '\n') firstLine_ += letter;
  }

  int End(int signal) {
    kill(process_, signal);
    return ExitStatus();
  }

  int ExitStatus() {
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void Open(speed_t speed) {
    Close();
    port_ = open(link_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_GE(port_, 0);
    termios settings{};
    ASSERT_EQ(tcgetattr(port_, &settings), 0);
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO), 0U) << "raw from the start";
    settings.c_cflag |= CSTOPB;
    cfsetspeed(&settings, speed);
    ASSERT_EQ(tcsetattr(port_, TCSANOW, &settings), 0);
  }

  void Close() {
    if (port_ >= 0) close(port_);
    port_ = -1;
  }

  Bytes Ask(const Bytes& message) {
    EXPECT_EQ(write(port_, message.data(), message.size()), static_cast<ssize_t>(message.size()));
    Bytes answer;
    pollfd waiting{port_, POLLIN, 0};
    while (answer.size() < kCheckAnswer && poll(&waiting, 1, kSilence) > 0) {
      std::array<std::uint8_t, 64> bytes{};
      const ssize_t size = read(port_, bytes.data(), bytes.size());
      if (size <= 0) break;
      answer.insert(answer.end(), bytes.begin(), bytes.begin() + size);
    }
    return answer;
  }

  fs::path folder_;
  fs::path link_;
  pid_t process_ = -1;
  int port_ = -1;
  int output_ = -1;
  std::string firstLine_;
};

TEST_F(Program, AnswersAtItsSpeedEachTimeThePortIsOpenedAndTakesItsLinkAway) {
  fs::create_symlink("/dev/pts/none", link_);  // left over from a run that was cut off
  Start({"--controller", "3,baud=19200"});
  EXPECT_NE(firstLine_.find("/dev/pts/"), std::string::npos) << firstLine_;
  Open(B9600);
  EXPECT_TRUE(Ask(Check(3)).empty()) << "wrong speed";
  for (int opening = 0; opening < 3; ++opening) {
    Open(B19200);
    const auto sent = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask(Check(3)).size(), kCheckAnswer) << opening;
    EXPECT_GE(std::chrono::steady_clock::now() - sent, TimeOf(7 + kCheckAnswer, k19200) + 5ms);
  }
  EXPECT_EQ(End(SIGTERM), 0);
  EXPECT_FALSE(fs::is_symlink(fs::symlink_status(link_)));
}

TEST_F(Program, AnAnswerThatNobodyReadIsGoneAtTheNextOpening) {
  Start({"--controller", "3", "--controller", "4", "--quick", "--delay", "0"});
  Open(B9600);
  const Bytes unread = Check(3);
  ASSERT_EQ(write(port_, unread.data(), unread.size()), static_cast<ssize_t>(unread.size()));
  pollfd waiting{port_, POLLIN, 0};
  ASSERT_EQ(poll(&waiting, 1, 5000), 1);
  Open(B9600);
  int waits = 1;
  for (int round = 0; round < 300 && waits > 0; ++round) {
    ASSERT_EQ(ioctl(port_, FIONREAD, &waits), 0);
    poll(nullptr, 0, 10);
  }
  const Bytes answer = Ask(Check(4));
  ASSERT_EQ(answer.size(), kCheckAnswer);
  EXPECT_EQ(answer[1], 4);
}

TEST_F(Program, AnAnswerToAClosedPortIsLost) {
  Start({"--controller", "3", "--controller", "4", "--delay", "50"});
  Open(B9600);
  EXPECT_TRUE(Ask(Check(5)).empty());
  const Bytes unheard = Check(3);
  ASSERT_EQ(write(port_, unheard.data(), unheard.size()), static_cast<ssize_t>(unheard.size()));
  Close();
  poll(nullptr, 0, 150);  // the answer comes and goes
  Open(B9600);
  const Bytes answer = Ask(Check(4));
  ASSERT_EQ(answer.size(), kCheckAnswer);
  EXPECT_EQ(answer[1], 4);
}

TEST_F(Program, APulledCableTakesThePortAwayAndBringsItBack) {
  Start({"--count", "4", "--unplug", "1,50"});
  Open(B9600);
  EXPECT_TRUE(Ask(Check(3)).empty());
  const Bytes message = Check(3);
  EXPECT_EQ(write(port_, message.data(), message.size()), -1);
  EXPECT_EQ(errno, EIO);
  Close();
  for (int wait = 0; wait < 300 && !fs::exists(link_); ++wait) poll(nullptr, 0, 10);
  Open(B9600);
  EXPECT_EQ(Ask(message).size(), kCheckAnswer);
}

TEST_F(Program, AFileInThePlaceOfTheLinkStaysAndSoDoesALinkToOne) {
  const fs::path work = folder_ / "work";
  std::ofstream(work) << "somebody's work";
  for (const bool linked : {true, false}) {
    if (linked)
      fs::create_symlink(work, link_);
    else
      fs::rename(work, link_);  // takes the place of the link
    Start({"--count", "1"});
    EXPECT_NE(firstLine_.find(link_.string()), std::string::npos) << firstLine_;
    EXPECT_EQ(ExitStatus(), 1);
    EXPECT_EQ(fs::file_size(link_), 15U);
  }
}

TEST_F(Program, BadOptionsEndItWithTwo) {
  Start({"--count", "many"});
  EXPECT_NE(firstLine_.find("--count many"), std::string::npos) << firstLine_;
  EXPECT_EQ(ExitStatus(), 2);
}

}  // namespace
}  // namespace bus
