// The real quillon-line at the virtual bus, from a folder of its own.
#include "support/program_folder.h"

namespace quillon::test {
namespace {

using testing::HasSubstr;

class LineProgram : public ProgramFolder {
 protected:
  LineProgram() : ProgramFolder(QUILLON_LINE, QUILLON_BUS) {}

  std::vector<std::string> Words(const std::string& options, int port = 7) const {
    return WordsOf(program_, "--timeout 100 --port " + std::to_string(port) + " " + options);
  }

  /// The contents of the files whose names end so.
  std::string ReadEnding(const std::string& ending) const {
    std::stringstream text;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_))
      if (entry.path().string().ends_with(ending)) text << std::ifstream(entry.path()).rdbuf();
    return text.str();
  }
};

TEST_F(LineProgram, EndsAsTheControllersAre) {
  StartBus("--count 2");
  const struct {
    std::string options;
    int status;
    const char* said;
    int port = 7;
  } cases[] = {
      {"--html " + folder_ + "page.html --record " + folder_ + "new/records --for " QUILLON_DEMO_HEX " 1-2",
       0, "without a loss as "},
      {"--questions 2 --json 1", 1, R"("verdict":"not measured")"},
      {"--questions 4 2", 1, "not there"},
      {"--watch --json 1", 2, "--json excludes --watch"},
      {"0-32", 2, R"("0-32" is not a controller)"},
      {"0", 3, "COM 99: no such port", 99},
      {"--for none.hex 0", 4, "none.hex"},
  };
  for (const auto& row : cases) {
    StartedProgram program(Words(row.options, row.port));
    EXPECT_THAT(program.ReadAll(), HasSubstr(row.said));
    EXPECT_EQ(program.Wait(), row.status) << row.said;
  }
  EXPECT_THAT(ReadEnding("-line-check.jsonl"),
              testing::ContainsRegex("\"event\":\"job\".*\n.*\"good\":true.*\n.*\n.*\"how\":\"finished\""));
  EXPECT_THAT(ReadEnding(".html"),
              testing::AllOf(HasSubstr("<td>1</td><td><b class='good'>good</b>"), HasSubstr("<circle")));
}

TEST_F(LineProgram, AnInterruptEndsItWithWhatWasMeasured) {
  StartBus("--count 1");
  StartedProgram program(Words("--watch --record " + folder_ + " 0"));
  EXPECT_THAT(program.ReadLine(), HasSubstr("Ctrl-C"));
  EXPECT_THAT(program.ReadLine(), HasSubstr("0 good"));
  program.Send(SIGINT);
  EXPECT_THAT(program.ReadAll(), HasSubstr("not measured"));
  EXPECT_EQ(program.Wait(), 5);
  EXPECT_THAT(ReadEnding("-line-check.jsonl"),
              testing::AllOf(HasSubstr("\"how\":\"cancelled\""), Not(HasSubstr("\"questions\""))));
}

}  // namespace
}  // namespace quillon::test
