#include "platform/text_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/test_program.h"
#ifndef _WIN32
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/full_disk.h"
#include "support/without_rights.h"

namespace {
int lockFailure = 0;  // an error number: then the file system has no locks
}

/// Replaces the C library's function, which the tool calls.
extern "C" int flock(int file, int operation) {
  if (lockFailure == 0) return static_cast<int>(syscall(SYS_flock, file, operation));
  errno = lockFailure;
  return -1;
}
#endif

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> RestOf(LineReader& reader) {
  std::vector<std::string> lines;
  while (!reader.AtEnd()) lines.emplace_back(reader.Next());
  return lines;
}

TEST(LinesOf, ATextEndAtAnyLineEnd) {
  const std::string bytes("\xE9\0\x1A \t", 5);
  const std::pair<std::string, std::vector<std::string>> kTexts[] = {{"", {}},
                                                                     {"a\r\nb", {"a", "b"}},
                                                                     {"a\rb\r", {"a", "b"}},
                                                                     {"a\nb\n", {"a", "b"}},
                                                                     {"\r\n\n\ra", {"", "", "", "a"}},
                                                                     {bytes + "\r\n", {bytes}}};
  for (const auto& [text, expected] : kTexts) {
    LineReader reader(text);
    EXPECT_EQ(RestOf(reader), expected);
    EXPECT_EQ(FailureNumber([&] { reader.Next(); }), 62);
  }
}

class FileTest : public testing::Test {
 protected:
  TestProgram program;
  const std::string folder = program.computer.folder;
};

TEST_F(FileTest, IsReadLineByLineWhereverAPieceOfItEnds) {
  for (const std::size_t length : {32765, 32766, 32767, 32768, 100'000}) {
    const std::string line(length, 'x');
    LineReader reader = LineReader::OfFile(program.Write("lines", line + "\r\n\t" + line + "\n" + line));
    EXPECT_EQ(RestOf(reader), (std::vector<std::string>{line, "\t" + line, line})) << length;
  }
  fs::resize_file(folder + "lines", 40'000'000);  // a last line that never ends, for what memory is worth
  LineReader endless = LineReader::OfFile(folder + "lines");
  EXPECT_EQ(FailureNumber([&] { RestOf(endless); }), 7);
}

TEST_F(FileTest, IsReadByteForByteOrFailsWithANumberOfItsOwn) {
  const std::string contents(200'000, '\xE9');
  EXPECT_EQ(ReadFile(program.Write("plain", contents)), contents);
  const std::pair<std::string, int> kFailures[] = {
      {"absent", 53}, {"plain/inner", 76}, {"", 75}, {std::string(300, 'n'), 52}};
  for (const auto& [name, number] : kFailures) {
    EXPECT_EQ(FailureNumber([&, &file = name] { ReadFile(folder + file); }), number) << name;
  }
  fs::resize_file(folder + "plain", (1 << 30) + 1);  // takes no room on disk
  EXPECT_EQ(FailureNumber([&] { ReadFile(folder + "plain"); }), 7);
  EXPECT_EQ(FailureNumber([&] { ReadFile(kDevice); }), 75);
}

TEST_F(FileTest, IsReplacedWholeOrNotAtAll) {
  program.Write("a.cfg", "old and longer");
  ReplaceFile(folder + "a.cfg", "new");
  EXPECT_EQ(program.Read("a.cfg"), "new");
  EXPECT_FALSE(fs::exists(folder + "a.cfg.new"));

#ifndef _WIN32
  {
    const FullDisk fullDisk;
    EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + "a.cfg", "newest"); }), 61);
  }
  EXPECT_EQ(program.Read("a.cfg"), "new");
  EXPECT_FALSE(fs::exists(folder + "a.cfg.new"));
#endif

  fs::create_directory(folder + "b.cfg");  // the new file can't take its place
  EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + "b.cfg", "new"); }), 75);
  EXPECT_FALSE(fs::exists(folder + "b.cfg.new"));
}

TEST_F(FileTest, HasOneWriterAndTheSecondLeavesItAlone) {
  const std::string path = folder + "lines.txt";
  TextWriter first;
  first.Open(path);
  first.WriteLine("of the first");
  TextWriter second;
  EXPECT_EQ(FailureNumber([&] { second.Open(path); }), 70);
  second.WriteLine("of the second");
  first.Close();
  EXPECT_EQ(program.Read("lines.txt"), "of the first\r\n");
  second.Open(path);
  EXPECT_EQ(program.Read("lines.txt"), "");
#ifndef _WIN32
  for (const int failure : {ENOLCK, ENOSYS, EOPNOTSUPP}) {
    lockFailure = failure;
    TextWriter unlocked;
    EXPECT_EQ(FailureNumber([&] { unlocked.Open(path); }), 0) << failure;
  }
  lockFailure = 0;
#endif
}

#ifndef _WIN32
TEST_F(FileTest, IsTheOldOneOrTheNewOneWhenTheProgramIsKilledWhileItSaves) {
  const std::string old(20'000, 'o');
  const std::string fresh(30'000, 'f');
  const std::string path = program.Write("some.cfg", old);
  for (unsigned i = 0; i < 20; ++i) {
    const pid_t saver = fork();
    ASSERT_GE(saver, 0);
    while (saver == 0) {
      ReplaceFile(path, fresh);
      ReplaceFile(path, old);
    }
    usleep(300 + 183 * i);
    kill(saver, SIGKILL);
    waitpid(saver, nullptr, 0);
    const std::string held = program.Read("some.cfg");
    EXPECT_TRUE(held == old || held == fresh) << held.size() << " bytes";
  }
}

TEST_F(FileTest, IsReplacedBehindItsLinkWithItsModeAndNeverThroughAnotherLink) {
  program.Write("victim", "victim");
  program.Write("real.cfg", "old");
  fs::permissions(folder + "real.cfg", fs::perms(0660));
  fs::create_symlink("victim", folder + "real.cfg.new");
  fs::create_symlink("real.cfg", folder + "a.cfg");
  ReplaceFile(folder + "a.cfg", "new");
  EXPECT_EQ(program.Read("real.cfg"), "new");
  EXPECT_EQ(fs::status(folder + "real.cfg").permissions(), fs::perms(0660));
  EXPECT_EQ(fs::read_symlink(folder + "a.cfg"), "real.cfg");
  EXPECT_EQ(fs::read_symlink(folder + "real.cfg.new"), "victim");
  EXPECT_EQ(program.Read("victim"), "victim");
  EXPECT_FALSE(fs::exists(folder + "real.cfg.new1"));

  fs::create_symlink("created.cfg", folder + "b.cfg");
  ReplaceFile(folder + "b.cfg", "new");
  EXPECT_EQ(program.Read("created.cfg"), "new");
}

TEST_F(FileTest, IsWrittenInPlaceWhereItsFolderIsProtectedAndNotAtAllWhereItIsProtectedItself) {
  const std::pair<int, const char*> kModes[] = {{0666, "new"}, {0444, "old and longer"}};
  for (const auto& [mode, expected] : kModes) {
    program.Write("a.cfg", "old and longer");
    fs::permissions(folder + "a.cfg", fs::perms(mode));
    fs::permissions(folder, fs::perms(0555));
    {
      const WithoutRights withoutRights;
      EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + "a.cfg", "new"); }), mode == 0444 ? 70 : 0);
    }
    EXPECT_EQ(program.Read("a.cfg"), expected);
    fs::permissions(folder, fs::perms::owner_all);
  }
  EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + "a.cfg", "new"); }), 70) << "of an administrator too";
}

TEST_F(FileTest, OfAnotherKindIsRefusedAtOnceAndALogIsWrittenThroughALinkToAFile) {
  TextWriter log;
  ASSERT_EQ(mkfifo((folder + "pipe").c_str(), 0666), 0);
  fs::create_symlink("/dev/null", folder + "device");
  for (const std::string name : {"pipe", "device"}) {
    EXPECT_EQ(FailureNumber([&] { ReadFile(folder + name); }), 75) << name;
    EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + name, "new"); }), 75) << name;
    EXPECT_EQ(FailureNumber([&] { log.Open(folder + name); }), 70) << name;
  }
  fs::create_symlink("elsewhere.txt", folder + "link.txt");
  EXPECT_EQ(FailureNumber([&] { log.Open(folder + "link.txt"); }), 70) << "the link leads to nothing";
  program.Write("elsewhere.txt", "of yesterday");
  log.Open(folder + "link.txt");
  log.WriteLine("of today");
  log.Close();
  EXPECT_EQ(program.Read("elsewhere.txt"), "of today\r\n");
}

TEST_F(FileTest, ThatFailsInTheMiddleGivesTheWholeLinesBefore) {
  std::string text;
  for (int i = 0; i < 10'000; ++i) text += "whole\r\n";
  const std::string path = program.Write("lines", text);
  LineReader reader = LineReader::OfFile(path);
  const int unreadable = open("/dev/null", O_WRONLY);
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code closed;
    if (fs::read_symlink(entry, closed) == path) dup2(unreadable, std::stoi(entry.path().filename()));
  }
  close(unreadable);
  int lines = 0;
  EXPECT_EQ(FailureNumber([&] {
              for (; !reader.AtEnd(); ++lines) EXPECT_EQ(reader.Next(), "whole");
            }),
            57);
  EXPECT_GT(lines, 1000);
  EXPECT_LT(lines, 10'000);
  EXPECT_EQ(FailureNumber([&] { reader.Next(); }), 57);
}
#endif

}  // namespace
}  // namespace quillon::test
