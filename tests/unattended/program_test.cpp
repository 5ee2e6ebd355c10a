// The real program at the virtual bus, from a folder of its own.
#include <gmock/gmock.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "support/image.h"
#include "support/started_program.h"
#include "unattended/output_queue.h"

namespace quillon {
namespace {

class ProgramAtTheBus : public testing::Test {
 protected:
  ProgramAtTheBus()
      : folder_(testing::TempDir() + "unattended" + std::to_string(getpid()) + "/"),
        bus_((std::filesystem::create_directory(folder_),
              std::vector<std::string>{QUILLON_BUS, "--link", folder_ + "COM7", "--controller",
                                       "1-2,baud=38400", "--download-baud", "38400"})) {
    EXPECT_THAT(bus_.ReadLine(), testing::StartsWith("bus: "));
    std::filesystem::copy_file(QUILLON_UNATTENDED, folder_ + "quillon-unattended");
    std::ofstream(folder_ + "Boot.ini") << "38400\n";
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("HOME", (folder_ + "home").c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("XDG_RUNTIME_DIR");  // of which the toolkit would complain
  }
  ~ProgramAtTheBus() override {
    bus_.End(SIGTERM);
    std::filesystem::remove_all(folder_);
  }

  std::vector<std::string> Words(const std::vector<std::string>& steps) const {
    std::vector<std::string> words{folder_ + "quillon-unattended",
                                   "--json",
                                   "--hex",
                                   QUILLON_DEMO_HEX,
                                   "--port",
                                   "7",
                                   "--speed",
                                   "38400",
                                   "--protocol",
                                   "63",
                                   "--timeout",
                                   "200",
                                   "--delay",
                                   "50",
                                   "--controllers",
                                   "1,2"};
    words.insert(words.end(), steps.begin(), steps.end());
    return words;
  }

  /// The next event; empty at the end. A line of anything else is a failure.
  static QJsonObject Next(test::StartedProgram& program) {
    const std::string line = program.ReadLine();
    const QJsonObject event = QJsonDocument::fromJson(line.c_str()).object();
    EXPECT_EQ(line.empty(), event.isEmpty()) << line;
    return event;
  }

  std::string folder_;
  test::StartedProgram bus_;
};

TEST_F(ProgramAtTheBus, TellsARunInJsonAndHowLongItTakes) {
  test::StartedProgram program(Words({"parallel"}));
  double foretoldEnd = 0, end = 0;
  std::vector<int> good;
  for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
    const double time = event["time"].toDouble();
    if (event["text"].toString().startsWith(" Programming Batch 1 ")) {
      foretoldEnd = time + event["secondsLeft"].toDouble();
      EXPECT_LT(std::abs(foretoldEnd - time - 3.4), 1) << "not even near what it must be";
    }
    if (event["event"] != "controller") continue;
    end = time;
    if (event["verdict"] == "good" && event["version"] == "12/05/31") good.push_back(event["number"].toInt());
  }
  EXPECT_EQ(program.Wait(), 0);
  EXPECT_THAT(good, testing::ElementsAre(1, 2));
  EXPECT_NEAR(foretoldEnd, end, 0.34);
  EXPECT_FALSE(std::filesystem::exists(folder_ + "Quillon.cfg"));
  EXPECT_FALSE(std::filesystem::exists(folder_ + "home")) << "all that is written stays in the folder";
}

TEST_F(ProgramAtTheBus, EndsWith1WhereAControllerIsNotAsWantedAndTakesTheNextStep) {
  test::StartedProgram program(Words({"flash-info:2", "flash-info:1"}));
  std::map<int, QString> verdicts;
  for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
    if (event["event"] == "controller") verdicts[event["number"].toInt()] = event["verdict"].toString();
  }
  EXPECT_EQ(program.Wait(), 1);
  // No file was loaded before, so their flash holds another image.
  const std::map<int, QString> expected{{1, "other-image"}, {2, "other-image"}};
  EXPECT_EQ(verdicts, expected);
}

// Controller 2 misses a batch of the parallel download.
TEST_F(ProgramAtTheBus, LoadsFailedControllersAgain) {
  test::StartedProgram bus({QUILLON_BUS, "--link", folder_ + "COM8", "--controller", "1-2,baud=38400",
                            "--fault", "2:lost-batch@1", "--download-baud", "38400", "--quick"});
  EXPECT_THAT(bus.ReadLine(), testing::StartsWith("bus: "));
  const std::string hex = folder_ + "image.hex";
  for (const std::string& line : test::kImage) std::ofstream(hex, std::ios::app) << line << "\n";
  std::vector<std::string> words = Words({"parallel", "serial:failed", "serial:failed"});
  std::ranges::replace(words, std::string(QUILLON_DEMO_HEX), hex);
  std::ranges::replace(words, std::string("7"), std::string("8"));
  test::StartedProgram program(words);
  std::string verdicts;
  for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
    if (event["event"] == "skipped") verdicts += "skipped ";
    if (event["event"] != "controller") continue;
    verdicts += std::to_string(event["number"].toInt()) + " " + event["verdict"].toString().toStdString() +
                " " + event["evidence"].toString().toStdString() + event["gap"].toString().toStdString() +
                " ";
  }
  EXPECT_EQ(
      verdicts,
      "1 good confirmed 2 not-programmed the checksum fits if batch 1 is missing 2 good proven skipped ");
  EXPECT_EQ(program.Wait(), 0);
}

// Killed while it erases and loads, then resumed by the record alone: without --hex, --port and
// --controllers.
TEST_F(ProgramAtTheBus, FinishesARecordedDownload) {
  const std::string hex = folder_ + "image.hex", records = folder_ + "records";
  std::filesystem::copy_file(QUILLON_DEMO_HEX, hex);
  std::vector<std::string> words = Words({"--record", records, "--by", "Ann", "parallel"});
  std::ranges::replace(words, std::string(QUILLON_DEMO_HEX), hex);
  test::StartedProgram killed(words);
  while (!Next(killed)["text"].toString().startsWith(" Programming Batch 3 ")) {
  }
  killed.End(SIGKILL);
  const std::string record = std::filesystem::directory_iterator(records)->path();
  const std::vector<std::string> resume{folder_ + "quillon-unattended", "--json", "--resume", record};
  test::StartedProgram resumed(resume);
  std::string verdicts;
  for (QJsonObject event = Next(resumed); !event.isEmpty(); event = Next(resumed)) {
    if (event["event"] == "controller") verdicts += event["verdict"].toString().toStdString() + " ";
  }
  EXPECT_EQ(verdicts, "other-image other-image good good ");
  EXPECT_EQ(resumed.Wait(), 0);
  std::ofstream(hex, std::ios::app) << "\n";
  test::StartedProgram refused(resume);
  EXPECT_THAT(refused.ReadAll(), testing::HasSubstr("has changed since the recorded download"));
  EXPECT_EQ(refused.Wait(), 4);
}

// A limit on the size of files acts as a full disk. It is reached while the results are written.
TEST_F(ProgramAtTheBus, WarnsBeforeTheEndThatARecordIsNotComplete) {
  std::vector<std::string> words{"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 3; exec \"$0\" \"$@\""};
  std::ranges::copy(Words({"--record", folder_ + "records", "flash-info"}), std::back_inserter(words));
  test::StartedProgram program(words);
  int warnings = 0;
  QString last;
  for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
    last = event["event"].toString();
    warnings += last == "warning" && event["text"].toString().contains("can't be written");
  }
  EXPECT_EQ(warnings, 1);
  EXPECT_EQ(last, "end");
  EXPECT_EQ(program.Wait(), 1);
}

TEST_F(ProgramAtTheBus, TakesAnInterruptAsCancel) {
  test::StartedProgram program(Words({"parallel", "flash-info"}));
  while (!Next(program)["text"].toString().startsWith(" Programming Batch 3 ")) {
  }
  EXPECT_EQ(program.End(SIGINT), 5);
  int batches = 0, rows = 0, steps = 0;
  for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
    batches += event["text"].toString().startsWith(" Programming Batch ");
    rows += event["verdict"] == "not-read";
    steps += event["event"] == "step";
  }
  EXPECT_LE(batches, 2);
  EXPECT_EQ(rows, 2);
  EXPECT_EQ(steps, 0);
}

// A full pipe blocks every write to it. The run goes on, and both signals and the end act as with any reader.
TEST_F(ProgramAtTheBus, IsNotDelayedByAReaderThatNeverReads) {
  const struct {
    const char* step;
    int signal;
    int status;
  } table[] = {{"flash-info", 0, 4}, {"parallel", SIGTERM, 5}};
  const std::string log = folder_ + "Log.txt";
  for (const auto& row : table) {
    std::filesystem::remove(log);
    test::StartedProgram program(Words({row.step}));
    program.FillOutput();
    while (!std::filesystem::exists(log)) usleep(10'000);
    if (row.signal != 0) {
      sleep(1);  // of the four seconds of the run
      program.Send(row.signal);
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(program.Wait(), row.status);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(12));
    std::ifstream file(log);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    EXPECT_THAT(text, testing::HasSubstr(row.signal == 0 ? "40 02 01 73" : "Message : $74"));
    EXPECT_EQ(text.find("Sending Full checksum"), std::string::npos) << "the run was not cancelled";
  }
}

// The reader comes back, and gets all that was queued, in order.
TEST(OutputQueue, WaitsForItsReaderInAThreadOfItsOwn) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::FILE* stream = fdopen(ends[1], "w");
  const auto soon = [] { return std::chrono::steady_clock::now() + std::chrono::milliseconds(50); };
  std::string expected;
  {
    OutputQueue output(stream);
    for (char c = 'a'; c <= 'z'; ++c) {
      expected += std::string(10'000, c);
      output.Write(std::string(10'000, c));
    }
    EXPECT_FALSE(output.Finish(soon()));
    EXPECT_FALSE(output.WriteUnlessWaiting("dropped", 100'000));
    std::string text(expected.size(), ' ');
    for (std::size_t read = 0; read < text.size();)
      read += static_cast<std::size_t>(::read(ends[0], &text[read], text.size() - read));
    EXPECT_TRUE(text == expected);
    EXPECT_TRUE(output.Finish(std::chrono::steady_clock::now() + std::chrono::seconds(5)));
    EXPECT_TRUE(output.WriteUnlessWaiting("queued", 0));
    close(ends[0]);
    signal(SIGPIPE, SIG_IGN);
    output.Write("the reader is gone");
    EXPECT_FALSE(output.Finish(std::chrono::steady_clock::now() + std::chrono::seconds(5)));
  }
  std::fclose(stream);
}

}  // namespace
}  // namespace quillon
