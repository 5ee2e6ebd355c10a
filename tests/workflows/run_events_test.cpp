// What a run reports to an observer. Each event is one word here, see EventWords.
#include <gmock/gmock.h>

#include <sstream>

#include "workflows/run_program.h"

namespace quillon::test {
namespace {

/// The events as words:
///
///     run        a run began; end:0 finished, end:1 cancelled, end:2 failed, end:3 aborted
///     <3:0 >3:0  a phase of controller 3 begins, ends (numbers of Phase)
///     @9600      the speed changed;     3@9600 controller 3 was found at that speed
///     s s2       a frame was sent, for the second time
///     r3:0:3     received after a frame to 3: judgement, and the address in the answer
///     c1:3:0     a command (number of Command) to 3 was answered (number of Reply)
///     b1/2       batch 1 of 2 begins
///     3=text     a row was filled;      #8020 a run-time failure
class EventWords : public RunObserver {
 public:
  void OnRunEvent(const RunEvent& event) override {
    std::visit([this](const auto& what) { Add(what); }, event.what);
  }
  std::string Text() const { return text_.str(); }

 private:
  void Add(const RunStarted&) { text_ << "run"; }
  void Add(const ControllerBegun& e) { text_ << " <" << e.controller << ":" << static_cast<int>(e.phase); }
  void Add(const ControllerEnded& e) { text_ << " >" << e.controller << ":" << static_cast<int>(e.phase); }
  void Add(const ControllerFound& e) { text_ << " " << e.controller << "@" << e.speed; }
  void Add(const SpeedChanged& e) { text_ << " @" << e.speed; }
  void Add(const FrameSent& e) { text_ << " s" << (e.send > 1 ? std::to_string(e.send) : ""); }
  void Add(const AnswerReceived& e) {
    text_ << " r" << e.controller << ":" << static_cast<int>(e.judgement) << ":" << e.Address().value_or(-1);
  }
  void Add(const CommandAnswered& e) {
    text_ << " c" << static_cast<int>(e.command) << ":" << e.controller << ":" << static_cast<int>(e.reply);
  }
  void Add(const BatchBegun& e) { text_ << " b" << e.number << "/" << e.of; }
  void Add(const RowFilled& e) {
    if (e.content != RowContent::kNothing) text_ << " " << e.controller << "=" << e.version << e.checksum;
  }
  void Add(const StatusShown&) {}
  void Add(const RunFailure& e) { text_ << " #" << e.number; }
  void Add(const RunEnded& e) { text_ << " end:" << static_cast<int>(e.how); }

  std::ostringstream text_;
};

struct EventCase {
  const char* name;
  Button button;
  bus::ControllerSetup controller;
  const char* events;
  std::function<void(RunProgram&)> prepare = {};
};

TEST(RunEvents, ReportWhatARunDoesAndLearns) {
  using bus::Fault;
  const EventCase cases[] = {
      {"parallel",
       kParallel,
       {.number = 3},
       "run <3:0 s r3:0:3 c1:3:0 >3:0 @38400 b1/2 s b2/2 s <3:2 s r3:0:3 c3:3:0 >3:2 @19200 <3:3 s r3:0:3 "
       "c0:3:0 3=12/05/3107B6 >3:3 end:0"},
      {"serial, one batch refused once",
       kSerial,
       {.number = 3,
        .faults = {{.kind = Fault::Kind::Code, .last = 1, .value = 0xE1, .command = bus::Command::Batch}}},
       "run <3:0 s r3:0:3 c1:3:0 >3:0 @38400 <3:1 b1/2 s r3:0:3 c2:3:1 s r3:0:3 c2:3:0 b2/2 s r3:0:3 c2:3:0 "
       "<3:2 s r3:0:3 c3:3:0 >3:2 >3:1 @19200 <3:3 s r3:0:3 c0:3:0 3=12/05/3107B6 >3:3 end:0"},
      {"another speed",
       kInfo,
       {.number = 3, .baud = 4800},
       "run <3:3 s s2 s3 c0:3:2 3=NoAnswer @4800 s r3:0:3 c0:3:0 3=01/02/031E02 >3:3 end:0"},
      {"cancelled",
       kInfo,
       {.number = 4},
       "run <3:3 s c0:3:4 3=NoAnswer @4800 >3:3 end:1",
       [](RunProgram& program) { program.CancelAt(100ms); }},
      {"closed",
       kInfo,
       {.number = 4},
       "run <3:3 s >3:3 end:3",
       [](RunProgram& program) { program.computer.At(100ms, [&program] { program.tool.Close(); }); }},
      {"boot code", kBoot, {.number = 3}, "run <3:4 s r3:0:3 c4:3:0 3=01/00/00B007 >3:4 end:0"},
      {"no port",
       kInfo,
       {.number = 3},
       "run #13 end:2",
       [](RunProgram& program) { program.tool.Protocol.SetText("x"); }},
  };
  for (const EventCase& c : cases) {
    RunProgram program({c.controller});
    program.ChooseHex(kImage);
    program.Tick({3});
    if (c.prepare) c.prepare(program);
    EventWords words;
    program.tool.observers.push_back(&words);
    program.Press(c.button);
    EXPECT_EQ(words.Text(), c.events) << c.name;
  }
}

}  // namespace
}  // namespace quillon::test
