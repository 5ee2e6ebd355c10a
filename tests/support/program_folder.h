#pragma once

#include <gmock/gmock.h>
#include <stdlib.h>

#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/started_program.h"

namespace quillon::test {

/// A folder with a copy of a program and the links to its virtual buses; removed at the end.
class ProgramFolder : public testing::Test {
 protected:
  /// `bus` is the path of quillon-bus.
  ProgramFolder(const std::string& program, std::string bus) : bus_(std::move(bus)) {
    char pattern[] = "/tmp/quillon-program-XXXXXX";
    folder_ = std::string(mkdtemp(pattern)) + "/";
    program_ = folder_ + std::filesystem::path(program).filename().string();
    std::filesystem::copy_file(program, program_);
  }
  ~ProgramFolder() override {
    buses_.clear();  // a running bus may create its link again
    std::filesystem::remove_all(folder_);
  }

  /// A program and its options, which are separated by blanks.
  static std::vector<std::string> WordsOf(const std::string& program, const std::string& options) {
    std::vector<std::string> words{program};
    std::istringstream split(options);
    words.insert(words.end(), std::istream_iterator<std::string>(split), {});
    return words;
  }

  /// Starts a bus with these options behind COM `port`.
  StartedProgram& StartBus(const std::string& options, int port = 7) {
    const std::string link = " --link " + folder_ + "COM" + std::to_string(port);
    StartedProgram& bus = buses_.emplace_back(WordsOf(bus_, options + link));
    EXPECT_THAT(bus.ReadLine(), testing::HasSubstr("/dev/pts/"));
    return bus;
  }

  std::string Read(const std::string& name) const {
    std::ifstream file(folder_ + name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string folder_;   ///< ends with a separator
  std::string program_;  ///< its path

 private:
  std::string bus_;
  std::deque<StartedProgram> buses_;
};

}  // namespace quillon::test
