#include "records/job_record.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>

#include "records/job_recorder.h"
#include "records/resume.h"
#include "results/run_results.h"
#include "workflows/run_program.h"

namespace quillon::test {
namespace {

using Progress = ControllerRecord::Progress;

QByteArray LinesOf(RecordLines& lines, const RunEvent& event) {
  QByteArray text;
  for (const RecordLines::Line& line : lines.Of(event))
    text += QJsonDocument(line.fields).toJson(QJsonDocument::Compact) + '\n';
  return text;
}

/// A program with two controllers that records its run.
class JobProgram : public RunProgram, private RunObserver {
 public:
  struct Job {
    Button button;
    std::vector<bus::ControllerSetup> controllers;
    bool prot3 = false;
  };
  explicit JobProgram(const Job& job) : RunProgram(job.controllers), job_(job) {
    ChooseHex(ImageWithSilentGap());
    tool.RUD3.SetValue(job.prot3);
  }
  /// As it is started after the other one was killed: the line is as that one left it.
  JobProgram(const JobProgram& killed, const JobRecord& begun) : JobProgram(killed.job_) {
    bus = killed.bus;
    computer.SleepUntil(std::chrono::duration<double>(killed.computer.Time() + 10s).count());
    tool.Vitesse.SetText(begun.job["settings"]["speed"].toString().toStdString());
  }

  /// Returns the record.
  QByteArray Run() {
    Tick({3, 5});
    tool.observers = {this};
    Press(job_.button);
    return record;
  }

  void Finish(const JobRecord& begun) {
    RunResults results;
    tool.observers = {&results};
    Resume resume(begun);
    while (const auto step = resume.Next()) {
      tool.Protocol.SetText(step->protocol.toStdString());
      tool.NONE.Press();
      for (const int y : step->controllers) tool.C(y).SetValue(CheckBox::kTicked);
      Press(step->load ? job_.button : kInfo);
      if (step->load) continue;
      for (const int y : step->controllers) resume.SetReading(y, results.EvidenceOf(y));
    }
  }

  const Bytes& Flash(int number) { return bus.At(number).Flash(); }
  int Erases(int number) const {
    return static_cast<int>(std::ranges::count_if(bus.Traffic(), [&](const auto& frame) {
      return frame.bytes[1] == number && frame.bytes[3] == 0x74;
    }));
  }

  QByteArray record;
  std::function<void()> onLine;  ///< whenever the record has grown
  bool ended = false;            ///< the record is complete
  std::map<int, bool> refused;   ///< the last reply to the full checksum of a controller

 private:
  void OnRunEvent(const RunEvent& event) override {
    record += LinesOf(lines_, event);
    ended |= std::holds_alternative<RunEnded>(event.what);
    const auto* answered = std::get_if<CommandAnswered>(&event.what);
    if (answered && answered->command == quillon::Command::kFullChecksum)
      refused[answered->controller] = answered->reply == quillon::Reply::kRefused;
    if (onLine) onLine();
  }

  Job job_;
  RecordLines lines_{"", {}};
};

/// Checks that the record of a program that is killed now is true, and that resuming completes the job.
void ExpectTrueAndResumable(const JobProgram& killed, const std::map<int, Bytes>& image) {
  const JobRecord record = ParseRecord(killed.record);
  JobProgram program(killed, record);
  EXPECT_EQ(record.cut.isEmpty(), killed.ended);
  std::map<int, int> erases;  // of loaded controllers
  for (const auto& [number, controller] : record.controllers) {
    const bool erased = program.Flash(number) == Bytes(0x10000, 0xFF);
    const bool loaded = program.Flash(number) == image.at(number);
    EXPECT_TRUE(erased || controller.progress != Progress::kUntouched);
    EXPECT_TRUE(loaded || controller.progress != Progress::kConfirmed);
    const bool confirmed = controller.progress == Progress::kConfirmed || controller.allAcknowledged;
    if (loaded && confirmed) erases[number] = program.Erases(number);
  }
  program.Finish(record);
  for (const auto& [number, flash] : image) EXPECT_TRUE(program.Flash(number) == flash) << number;
  for (const auto& [number, count] : erases) {
    const auto refused = killed.refused.find(number);
    const bool wasGood = refused == killed.refused.end() || !refused->second;
    EXPECT_EQ(program.Erases(number) == count, wasGood) << number;
  }
}

TEST(JobRecord, IsTrueAndResumableWhereverTheRunIsKilled) {
  using bus::Fault;
  const Fault loses{.first = 3, .last = 5, .command = bus::Command::Batch};
  const Fault refuses{.kind = Fault::Kind::Code, .last = 3, .value = 0xE1, .command = bus::Command::Checksum};
  const struct {
    JobProgram::Job job;
    const char* from = "";  // resumed before the losses, it would lose batches itself
  } cases[] = {{{kParallel, {{.number = 3}, {.number = 5}}}},
               {{kSerial, {{.number = 3}, {.number = 5, .protocol = 0x41}}}},
               {{kParallel, {{.number = 3}, {.number = 5, .faults = {loses}}}}, "\"begun\":6,"},
               {{kSerial, {{.number = 3}, {.number = 5, .protocol = 0x41, .faults = {refuses}}}, true}}};
  for (const auto& [job, from] : cases) {
    JobProgram whole({job.button, {{.number = 3}, {.number = 5, .protocol = job.controllers[1].protocol}}});
    whole.Run();
    const std::map<int, Bytes> image{{3, whole.Flash(3)}, {5, whole.Flash(5)}};
    ASSERT_NE(image.at(3), Bytes(0x10000, 0xFF));
    int kills = 0;
    JobProgram program(job);
    program.onLine = [&, from = from] {
      if (!program.record.contains(from) || testing::Test::HasFailure()) return;
      SCOPED_TRACE("killed after\n" + program.record.toStdString());
      ExpectTrueAndResumable(program, image);
      ++kills;
    };
    program.Run();
    EXPECT_GT(kills, 20);
  }
}

TEST(JobRecord, IsReadWhereverItIsCut) {
  JobProgram program({kSerial, {{.number = 3}}});
  const QByteArray text = program.Run();
  const JobRecord whole = ParseRecord(text);
  EXPECT_EQ(whole.ending, "finished");
  EXPECT_EQ(whole.controllers.at(3).acknowledged, 6);
  for (qsizetype size = 0; size < text.size() - 1; ++size) {
    ASSERT_NE(ParseRecord(text.first(size)).cut, "") << size;
  }
  EXPECT_EQ(ParseRecord(text.first(text.indexOf("\"begun\":3"))).cut.section(',', 1).toStdString(),
            " in the step \"program\" of controller 3, at or after batch 2 of 6.");
}

TEST(JobRecord, IsRefusedWhenDamaged) {
  const struct {
    const char* text;
    const char* reason;
  } table[] = {
      {R"({"event":"job","format":2})", "newer"},
      {"{}", "not a job record"},
      {":00000001FF", "not a job record"},
      {R"({"event":"job","kind":"serial","controllers":[3,99]})", "\"99\""},
      {R"({"event":"job","kind":"serial","controllers":["x"]})", "\"x\""},
      {"{\"event\":\"job\"}\n{\"event\":\"read\",\"controller\":-1}", "\"-1\""},
  };
  for (const auto& row : table) {
    try {
      ParseRecord(row.text + QByteArray("\n"));
      ADD_FAILURE() << row.text;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(row.reason)) << row.text;
    }
  }
}

/// The steps of a resumed download: "read 63: 3 5, load 63: 3". In each step that reads, the controllers of
/// `readings` answer.
std::string StepsOf(Resume resume, const std::map<int, Evidence>& readings) {
  std::string steps;
  while (const auto step = resume.Next()) {
    steps += (steps.empty() ? "" : ", ") + std::string(step->load ? "load " : "read ") +
             step->protocol.toStdString() + ":";
    for (const int number : step->controllers) {
      steps += " " + std::to_string(number);
      if (!step->load && readings.contains(number)) resume.SetReading(number, readings.at(number));
    }
  }
  return steps;
}

TEST(Resume, ReadsFirstAndLoadsEachSilentControllerAlone) {
  JobProgram program({kSerial, {{.number = 3}, {.number = 5}}});
  const QByteArray text = program.Run();
  const JobRecord record = ParseRecord(text.first(text.indexOf('\n') + 1));
  Evidence loaded, other;
  loaded.checksum = record.File()["checksum"].toString().toStdString();
  other.checksum = "0000";
  Evidence twoReadings = loaded, twoNumbers = loaded;
  twoReadings.differentReadings = true;
  twoNumbers.otherController = 3;
  const struct {
    std::map<int, Evidence> readings;
    const char* steps;
    const char* protocol = "";
  } table[] = {
      {{{3, loaded}, {5, loaded}}, "read 63: 3 5"},
      {{{3, other}, {5, other}}, "read 63: 3 5, load 63: 3 5"},
      {{{3, loaded}, {5, twoReadings}}, "read 63: 3 5, load 63: 5"},
      {{{3, loaded}, {5, twoNumbers}}, "read 63: 3 5, load 63: 5"},
      {{{3, other}}, "read 63: 3 5, read 64: 5, load 63: 3, load 63: 5"},
      {{}, "read 63: 3 5, read 64: 3 5, load 63: 3, load 63: 5"},
      {{}, "read 7: 3 5, read 64: 3 5, load 7: 3, load 7: 5", "7"},
      {{}, "read 64: 3 5, load 64: 3, load 64: 5", "64"},
  };
  for (const auto& row : table) EXPECT_EQ(StepsOf(Resume(record, row.protocol), row.readings), row.steps);
}

TEST(JobRecord, ListsNoMoreThanALimitAndNothingAfterItsEnd) {
  RecordLines lines("", {});
  QByteArray text;
  const auto record = [&](const auto& what) { text += LinesOf(lines, {0, what}); };
  RunStarted started{};
  started.controllers = {3};
  record(started);
  for (int n = 0; n < 150; ++n)
    record(CommandAnswered{quillon::Command::kBatch, 3, quillon::Reply::kRefused});
  record(RunFailure{53, "File not found"});
  record(RunEnded{});
  EXPECT_EQ(ParseRecord(text).controllers.at(3).refusals, 150);
  EXPECT_LT(text.count('\n'), 80);
  EXPECT_TRUE(text.contains("File not found"));
  const QByteArray ended = text;
  record(RunFailure{53, "File not found"});
  EXPECT_EQ(text, ended);
}

TEST(JobRecord, HasAFileOfItsOwnForEachRun) {
  int argc = 0;
  const QCoreApplication application(argc, nullptr);
  const QTemporaryDir folder;
  JobProgram program({kInfo, {{.number = 3}}});
  program.Tick({3});
  QStringList failures;
  const auto recordTwo = [&](const QString& path) {
    JobRecorder recorder(path, "", {"Ann", ""}, [&](const QString& text) { failures.push_back(text); });
    program.tool.observers = {&recorder};
    program.Press(kInfo);
    program.Press(kInfo);
    recorder.Wait();
  };
  recordTwo(folder.path());
  const QStringList names = QDir(folder.path()).entryList(QDir::Files);
  ASSERT_EQ(names.size(), 2);
  EXPECT_THAT(names[0].toStdString(), testing::MatchesRegex("20......T......Z-flash-info.*[.]jsonl"));
  EXPECT_EQ(ReadRecord(folder.filePath(names[1])).ending, "finished");
  EXPECT_EQ(failures.size(), 0);
  recordTwo(folder.filePath(names[0]));  // not a folder
  ASSERT_EQ(failures.size(), 1);
  EXPECT_THAT(failures[0].toStdString(), testing::HasSubstr("can't be written"));
}

}  // namespace
}  // namespace quillon::test
