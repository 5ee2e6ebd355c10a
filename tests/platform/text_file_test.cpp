#include "platform/text_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/bench.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;

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
    std::vector<std::string> lines;
    while (!reader.AtEnd()) lines.emplace_back(reader.Next());
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(FailureNumber([&] { reader.Next(); }), 62);
  }
}

class FileTest : public testing::Test {
 protected:
  Bench bench;
  const std::string folder = bench.world.folder;
};

TEST_F(FileTest, IsReadLineByLineWhereverAPieceOfItEnds) {
  for (const std::size_t length : {1, 32765, 32766, 32767, 32768, 32769, 100'000}) {
    const std::string line(length, 'x');
    LineReader reader = LineReader::OfFile(bench.Write("lines", line + "\r\n\t" + line + "\n" + line));
    std::vector<std::string> lines;
    while (!reader.AtEnd()) lines.emplace_back(reader.Next());
    EXPECT_EQ(lines, (std::vector<std::string>{line, "\t" + line, line})) << length;
  }
  fs::resize_file(folder + "lines", 40'000'000);  // a last line that never ends, for what memory is worth
  LineReader endless = LineReader::OfFile(folder + "lines");
  endless.Next();
  endless.Next();
  EXPECT_EQ(FailureNumber([&] { endless.Next(); }), 7);
}

TEST_F(FileTest, IsReadByteForByteOrFailsWithANumberOfItsOwn) {
  for (const std::size_t size : {0, 1, 4096, 200000}) {
    const std::string contents(size, '\xE9');
    EXPECT_EQ(ReadFile(bench.Write("plain", contents)), contents) << size;
  }
  const std::pair<std::string, int> kFailures[] = {
      {"absent", 53}, {"plain/inner", 76}, {"", 75}, {std::string(300, 'n'), 52}};
  for (const auto& [name, number] : kFailures) {
    EXPECT_EQ(FailureNumber([&, &file = name] { ReadFile(folder + file); }), number) << name;
  }
  fs::resize_file(folder + "plain", (1 << 30) + 1);  // takes no room on disk
  EXPECT_EQ(FailureNumber([&] { ReadFile(folder + "plain"); }), 7);
  EXPECT_EQ(FailureNumber([&] { ReadFile(kDevice); }), 75);
}

TEST_F(FileTest, IsFoundWhateverTheCaseOfItsName) {
  EXPECT_EQ(PathInFolder(folder, "Boot.ini"), folder + "Boot.ini");
  bench.Write("BOOT.INI", "loud");
  EXPECT_EQ(ReadFile(PathInFolder(folder, "Boot.ini")), "loud");
  bench.Write("Boot.ini", "exact");
  EXPECT_EQ(ReadFile(PathInFolder(folder, "Boot.ini")), "exact");
}

TEST_F(FileTest, IsReplacedWholeOrNotAtAll) {
  bench.Write("a.cfg", "old and longer");
  ReplaceFile(folder + "a.cfg", "new");
  EXPECT_EQ(bench.Read("a.cfg"), "new");
  EXPECT_FALSE(fs::exists(folder + "a.cfg.new"));

#ifndef _WIN32
  fs::create_symlink("/dev/full", folder + "a.cfg.new");
  EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + "a.cfg", "newest"); }), 61);
  EXPECT_EQ(bench.Read("a.cfg"), "new");
#endif

  fs::create_directory(folder + "b.cfg");  // the new file can't take its place
  EXPECT_EQ(FailureNumber([&] { ReplaceFile(folder + "b.cfg", "new"); }), 75);
  EXPECT_FALSE(fs::exists(folder + "b.cfg.new"));
}

TEST_F(FileTest, HasOneWriterAndTheSecondLeavesItAlone) {
  TextWriter first;
  first.Open(folder + "mine.txt");
  first.WriteLine("of the first");
  TextWriter second;
  EXPECT_EQ(FailureNumber([&] { second.Open(folder + "mine.txt"); }), 70);
  second.WriteLine("of the second");
  first.Close();
  EXPECT_EQ(bench.Read("mine.txt"), "of the first\r\n");
  second.Open(folder + "mine.txt");
  EXPECT_EQ(bench.Read("mine.txt"), "");
}

}  // namespace
}  // namespace quillon::test
