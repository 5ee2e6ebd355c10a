#include <gmock/gmock.h>

#include <QTemporaryDir>
#include <fstream>

#include "platform/text_file.h"
#include "support/started_program.h"
#include "unattended/task.h"

namespace quillon {
namespace {

using testing::AllOf;
using testing::HasSubstr;

Task Read(const QString& words) { return ParseCommandLine(("quillon-unattended " + words).split(' ')); }

TEST(CommandLine, RefusesAWordThatMakesNoSense) {
  const struct {
    const char* words;
    const char* named;  // in the error
    const char* remedy;
  } table[] = {
      {"serial:x", "\"x\"", "0 to 31"},
      {"serial:1,", "\"\"", "0 to 31"},
      {"serial:1-", "\"1-\"", "0 to 31"},
      {"serial:3-1", "\"3-1\"", "0 to 31"},
      {"--controllers 0-32 serial", "\"0-32\"", "0 to 31"},
      {"--controllers 1,2x serial", "\"2x\"", "0 to 31"},
      {"--port 100 serial", "\"100\"", "1 to 99"},
      {"--protocol 255 serial", "\"255\"", "0 to 254"},
      {"--timeout 1.5 serial", "\"1.5\"", "1 to"},
      {"--delay x serial", "\"x\"", "0 to 32767"},
      {"--speed 9601 serial", "\"9601\"", "9600"},
      {"--port 7", "no step", "--help"},
      {"--port 7 --port 8 flash-info", "--port", "once"},
      {"serial:1", "serial:1", "--hex FILE"},
      {"--forecast flash-info", "flash-info", "--speed"},
      {"seriel:1", "\"seriel\"", "serial"},
      {"--ports 7 serial", "ports", "--help"},
      {"--resume a.jsonl flash-info", "--resume", "excludes STEP"},
      {"--by Ann flash-info", "--by", "requires --record"},
  };
  for (const auto& row : table) {
    try {
      Read(row.words);
      ADD_FAILURE() << row.words << " is accepted";
    } catch (const Failure& error) {
      EXPECT_EQ(error.category, ErrorCategory::kUsage);
      EXPECT_THAT(error.what(), AllOf(HasSubstr(row.named), HasSubstr(row.remedy))) << row.words;
    }
  }
}

TEST(CommandLine, HandsOnWhatMakesSense) {
  const Task task = Read("--port 99 --speed 38400 --controllers 0-3,31 --hex " QUILLON_DEMO_HEX
                         " --json serial:31,0 auto auto");
  EXPECT_TRUE(task.json);
  EXPECT_EQ(task.port, "99");
  EXPECT_EQ(task.speed, "38400");
  EXPECT_EQ(task.controllers, (QList<int>{0, 1, 2, 3, 31}));
  ASSERT_EQ(task.steps.size(), 3u);
  EXPECT_EQ(task.steps[0].button, "Download (Serial)");
  EXPECT_EQ(task.steps[0].controllers, (QList<int>{31, 0}));
  EXPECT_EQ(task.steps[1].button, "Auto");
  EXPECT_EQ(task.steps[1].controllers, std::nullopt);
}

TEST(CommandLine, OverridesTheSettingsOfARecordToResume) {
  const QTemporaryDir folder;
  const QString path = folder.filePath("record.jsonl");
  std::ofstream(path.toStdString())
      << R"({"event":"job","kind":"serial","port":"COM 9","controllers":[3],"settings":{"protocol":"63",)"
      << R"("speed":"4800"},"file":{"path":")" QUILLON_DEMO_HEX R"(","sha256":")"
      << Sha256(ReadFile(QUILLON_DEMO_HEX)).toStdString() << "\"}}\n";
  Task task = Read("--speed 9600 --protocol 7 --resume " + path);
  PrepareFiles(task);
  EXPECT_EQ(task.port + "/" + task.speed + "/" + task.protocol, "9/9600/7");
  EXPECT_EQ(task.resume->Next()->protocol, "7");
}

// Without a display, and without messages of the toolkit.
TEST(CommandLine, AnErrorIsOneLineAndItsStatus) {
  test::StartedProgram program({QUILLON_UNATTENDED, "--hex", "/no/such.hex", "serial"});
  EXPECT_EQ(
      program.ReadAll(),
      "quillon-unattended: --hex: the file \"/no/such.hex\" does not exist. Give the path of a HEX file.\n");
  EXPECT_EQ(program.Wait(), 4);
}

}  // namespace
}  // namespace quillon
