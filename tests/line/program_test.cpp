// The real quillon-line at the virtual bus, from a folder of its own.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/started_program.h"

namespace quillon::test {
namespace {

using testing::HasSubstr;

class LineProgram : public testing::Test {
 protected:
  LineProgram() : folder_(testing::TempDir() + "line" + std::to_string(getpid()) + "/") {
    std::filesystem::create_directory(folder_);
    std::filesystem::copy_file(QUILLON_LINE, folder_ + "quillon-line");
  }
  ~LineProgram() override { std::filesystem::remove_all(folder_); }

  StartedProgram Bus(std::vector<std::string> options) {
    options.insert(options.begin(), {QUILLON_BUS, "--link", folder_ + "COM7"});
    return StartedProgram(options);
  }

  std::vector<std::string> Words(std::vector<std::string> options, const char* port = "7") {
    options.insert(options.begin(), {folder_ + "quillon-line", "--timeout", "100", "--port", port});
    return options;
  }

  /// The contents of the files whose names end so.
  std::string Read(const std::string& ending) const {
    std::stringstream text;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_))
      if (entry.path().string().ends_with(ending)) text << std::ifstream(entry.path()).rdbuf();
    return text.str();
  }

  std::string folder_;
};

TEST_F(LineProgram, EndsAsTheControllersAre) {
  StartedProgram bus = Bus({"--count", "2"});
  ASSERT_THAT(bus.ReadLine(), HasSubstr("bus: "));
  const struct {
    std::vector<std::string> options;
    int status;
    const char* said;
    const char* port = "7";
  } cases[] = {
      {{"--html", folder_ + "page.html", "--record", folder_ + "new/records", "--for", QUILLON_DEMO_HEX,
        "1-2"},
       0,
       "Proven for up to "},
      {{"--questions", "2", "--json", "1"}, 1, R"("verdict":"not measured")"},
      {{"--questions", "4", "2"}, 1, "not there"},
      {{"--watch", "--json", "1"}, 2, "--json excludes --watch"},
      {{"0-32"}, 2, R"("0-32" is not a controller)"},
      {{"0"}, 3, "COM 99: no such port", "99"},
      {{"--for", "none.hex", "0"}, 4, "none.hex"},
  };
  for (const auto& row : cases) {
    StartedProgram program(Words(row.options, row.port));
    EXPECT_THAT(program.ReadAll(), HasSubstr(row.said));
    EXPECT_EQ(program.Wait(), row.status) << row.said;
  }
  EXPECT_THAT(Read("-line-check.jsonl"),
              testing::ContainsRegex("\"event\":\"job\".*\n.*\"good\":true.*\n.*\n.*\"how\":\"finished\""));
  EXPECT_THAT(Read(".html"),
              testing::AllOf(HasSubstr("<td>1</td><td><b class='good'>good</b>"), HasSubstr("<circle")));
}

TEST_F(LineProgram, AnInterruptEndsItWithWhatWasMeasured) {
  StartedProgram bus = Bus({"--count", "1"});
  ASSERT_THAT(bus.ReadLine(), HasSubstr("bus: "));
  StartedProgram program(Words({"--watch", "--record", folder_, "0"}));
  EXPECT_THAT(program.ReadLine(), HasSubstr("Ctrl-C"));
  EXPECT_THAT(program.ReadLine(), HasSubstr("0 good"));
  program.Send(SIGINT);
  EXPECT_THAT(program.ReadAll(), HasSubstr("not measured"));
  EXPECT_EQ(program.Wait(), 5);
  EXPECT_THAT(Read("-line-check.jsonl"),
              testing::AllOf(HasSubstr("\"how\":\"cancelled\""), Not(HasSubstr("\"questions\""))));
}

}  // namespace
}  // namespace quillon::test
