// The real program at the virtual bus, from a folder of its own.
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "support/image.h"
#include "support/program_folder.h"
#include "unattended/output_queue.h"

namespace quillon {
namespace {

class ProgramAtTheBus : public test::ProgramFolder {
 protected:
  ProgramAtTheBus() : ProgramFolder(QUILLON_UNATTENDED, QUILLON_BUS) {
    StartBus(kBus);
    std::filesystem::copy_file(QUILLON_DEMO_HEX, folder_ + "demo.hex");
    std::ofstream(folder_ + "Boot.ini") << "38400\n";
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("HOME", (folder_ + "home").c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("XDG_RUNTIME_DIR");  // the toolkit would warn about it
  }

  /// A bus with controllers 1 and 2.
  static constexpr const char* kBus = "--controller 1-2,baud=38400 --download-baud 38400";

  /// The command line of a run with these steps.
  std::vector<std::string> Words(const std::string& steps, const std::string& file = "demo.hex",
                                 int port = 7) const {
    return WordsOf(program_,
                   "--json --speed 38400 --protocol 63 --timeout 200 --delay 50 --controllers 1,2 --port " +
                       std::to_string(port) + " --hex " + folder_ + file + " " + steps);
  }

  /// The next event; empty at the end. Any other line is a failure.
  static QJsonObject Next(test::StartedProgram& program) {
    const std::string line = program.ReadLine();
    const QJsonObject event = QJsonDocument::fromJson(line.c_str()).object();
    EXPECT_EQ(line.empty(), event.isEmpty()) << line;
    return event;
  }

  static void ReadUntilBatch(test::StartedProgram& program, int number) {
    const QString status = QString(" Programming Batch %1 ").arg(number);
    while (!Next(program)["text"].toString().startsWith(status)) {
    }
  }

  /// Reads all events. Returns number and verdict of each controller, the gap where it is not programmed, and
  /// the name of each event `named`.
  static std::string Verdicts(test::StartedProgram& program, const std::string& named = "") {
    std::string verdicts;
    for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
      const auto text = [&](const char* field) { return event[field].toString().toStdString(); };
      if (text("event") == "controller") {
        verdicts += std::to_string(event["number"].toInt()) + " " + text("verdict");
        verdicts += text("verdict") == "not-programmed" ? ": " + text("gap") + "; " : "; ";
      } else if (text("event") == named) {
        verdicts += named + "; ";
      }
    }
    return verdicts;
  }
};

TEST_F(ProgramAtTheBus, ReportsARunInJsonAndHowLongItTakes) {
  test::StartedProgram program(Words("parallel"));
  double estimatedEnd = 0, end = 0;
  std::vector<int> good;
  for (QJsonObject event = Next(program); !event.isEmpty(); event = Next(program)) {
    const double time = event["time"].toDouble();
    if (event["text"].toString().startsWith(" Programming Batch 1 "))
      estimatedEnd = time + event["secondsLeft"].toDouble();
    if (event["event"] != "controller") continue;
    end = time;
    if (event["verdict"] == "good" && event["version"] == "12/05/31") good.push_back(event["number"].toInt());
  }
  EXPECT_EQ(program.Wait(), 0);
  EXPECT_THAT(good, testing::ElementsAre(1, 2));
  EXPECT_NEAR(estimatedEnd, end, 0.34);
  EXPECT_FALSE(std::filesystem::exists(folder_ + "Quillon.cfg"));
  EXPECT_FALSE(std::filesystem::exists(folder_ + "home")) << "all that is written is in the folder";
}

TEST_F(ProgramAtTheBus, ExitsWithStatus1WhereAControllerIsNotAsWantedAndContinuesWithTheNextStep) {
  test::StartedProgram program(Words("flash-info:2 flash-info:1"));
  EXPECT_EQ(Verdicts(program), "2 other-image; 1 other-image; ");
  EXPECT_EQ(program.Wait(), 1);
}

// Controller 2 misses a batch of the parallel download.
TEST_F(ProgramAtTheBus, LoadsFailedControllersAgain) {
  StartBus(kBus + std::string(" --quick --fault 2:lost-batch@1"), 8);
  std::ofstream image(folder_ + "image.hex");
  for (const std::string& line : test::kImage) image << line << "\n";
  image.close();
  test::StartedProgram program(Words("parallel serial:failed serial:failed", "image.hex", 8));
  EXPECT_EQ(Verdicts(program, "skipped"),
            "1 good; 2 not-programmed: the checksum fits if batch 1 is missing; 2 good; skipped; ");
  EXPECT_EQ(program.Wait(), 0);
}

// The cable is pulled when both controllers are erased, and is back half a second later.
TEST_F(ProgramAtTheBus, EndsAtAPulledCableAndTheNextDownloadUsesTheNewDevice) {
  StartBus(kBus + std::string(" --quick --unplug 4,500"), 8);
  for (const int status : {3, 0}) {
    while (!std::filesystem::exists(folder_ + "COM8")) usleep(10'000);
    test::StartedProgram program(Words("parallel", "demo.hex", 8));
    EXPECT_EQ(Verdicts(program) == "1 good; 2 good; ", status == 0);
    EXPECT_EQ(program.Wait(), status);
  }
}

// The program is killed while it loads. The record alone is enough to resume: no --hex, --port,
// --controllers.
TEST_F(ProgramAtTheBus, FinishesARecordedDownload) {
  const std::string records = folder_ + "records";
  test::StartedProgram killed(Words("--record " + records + " --by Ann parallel"));
  ReadUntilBatch(killed, 3);
  killed.End(SIGKILL);
  const auto resume =
      WordsOf(program_, "--json --resume " + std::filesystem::directory_iterator(records)->path().string());
  test::StartedProgram resumed(resume);
  EXPECT_EQ(Verdicts(resumed), "1 other-image; 2 other-image; 1 good; 2 good; ");
  EXPECT_EQ(resumed.Wait(), 0);
  std::ofstream(folder_ + "demo.hex", std::ios::app) << "\n";
  test::StartedProgram refused(resume);
  EXPECT_THAT(refused.ReadAll(), testing::HasSubstr("has changed since the recorded download"));
  EXPECT_EQ(refused.Wait(), 4);
}

// A limit on the size of files acts as a full disk. It is reached while the results are written.
TEST_F(ProgramAtTheBus, WarnsBeforeTheEndThatARecordIsNotComplete) {
  std::vector<std::string> words{"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 3; exec \"$0\" \"$@\""};
  std::ranges::copy(Words("--record " + folder_ + "records flash-info"), std::back_inserter(words));
  test::StartedProgram program(words);
  const std::string output = program.ReadAll();
  const auto warning = output.find("\"warning\"");
  EXPECT_NE(warning, std::string::npos);
  EXPECT_EQ(warning, output.rfind("\"warning\""));
  EXPECT_LT(output.find("can't be written", warning), output.find("\"end\""));
  EXPECT_EQ(program.Wait(), 1);
}

TEST_F(ProgramAtTheBus, UsesAnInterruptAsCancel) {
  test::StartedProgram program(Words("parallel flash-info"));
  ReadUntilBatch(program, 3);
  EXPECT_EQ(program.End(SIGINT), 5);
  const std::string output = program.ReadAll();
  EXPECT_EQ(output.find(" Programming Batch 6 "), std::string::npos);
  EXPECT_EQ(output.find("\"step\""), std::string::npos);
  EXPECT_NE(output.find("\"not-read\""), output.rfind("\"not-read\"")) << "both controllers";
}

// A full pipe blocks every write to it. The run continues, and signals and the end act as with any reader.
TEST_F(ProgramAtTheBus, IsNotDelayedByAReaderThatNeverReads) {
  const struct {
    const char* step;
    int signal;
    int status;
  } table[] = {{"flash-info", 0, 4}, {"parallel", SIGTERM, 5}};
  const std::string log = folder_ + "Log.txt";
  for (const auto& row : table) {
    std::filesystem::remove(log);
    test::StartedProgram program(Words(row.step));
    program.FillOutput();
    while (!std::filesystem::exists(log)) usleep(10'000);
    if (row.signal != 0) {
      sleep(1);  // of the four seconds of the run
      program.Send(row.signal);
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(program.Wait(), row.status);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(12));
    const std::string text = Read("Log.txt");
    EXPECT_THAT(text, testing::HasSubstr(row.signal == 0 ? "40 02 01 73" : "Message : $74"));
    EXPECT_EQ(text.find("Sending Full checksum"), std::string::npos) << "the run was not cancelled";
  }
}

TEST(OutputQueue, KeepsAllForAReaderThatComesBackAndReportsOneThatIsGone) {
  using std::chrono_literals::operator""ms;
  const auto finish = [](OutputQueue& output, std::chrono::milliseconds wait) {
    return output.Finish(std::chrono::steady_clock::now() + wait);
  };
  signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::FILE* stream = fdopen(ends[1], "w");
  {
    OutputQueue output(stream);
    std::string expected;
    for (char c = 'a'; c <= 'z'; ++c) {
      expected += std::string(10'000, c);
      output.Write(std::string(10'000, c));
    }
    EXPECT_FALSE(finish(output, 50ms));
    EXPECT_FALSE(output.WriteUnlessWaiting("dropped", 100'000));
    std::string text(expected.size(), ' ');
    for (std::size_t read = 0; read < text.size();)
      read += static_cast<std::size_t>(::read(ends[0], &text[read], text.size() - read));
    EXPECT_TRUE(text == expected);
    EXPECT_TRUE(finish(output, 5000ms));
    EXPECT_TRUE(output.WriteUnlessWaiting("queued", 0));
    close(ends[0]);
    output.Write("the reader is gone");
    EXPECT_FALSE(finish(output, 5000ms));
  }
  std::fclose(stream);
}

}  // namespace
}  // namespace quillon
