#include "bus/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace bus {
namespace {

using namespace std::chrono_literals;
using Words = std::vector<std::string>;

TEST(Options, ControllersUseTheirKeysAndSpeedsInTurnInsteadOfTheCountedOnes) {
  const Options options = ParseOptions(
      Words{"--controller", "30-31,baud=4800/38400,protocol=65,version=12AB05,form=14,metadata=008B",
            "--controller", "3,baud=4800", "--controller", "3", "--count", "010"});
  std::string numbers;
  for (const ControllerSetup& setup : options.controllers) numbers += std::to_string(setup.number) + " ";
  ASSERT_EQ(numbers, "0 1 2 4 5 6 7 8 9 30 31 3 3 ") << "010 is ten";
  EXPECT_EQ(options.controllers[9].baud, 4800);
  EXPECT_EQ(options.controllers[11].baud, 4800);
  EXPECT_EQ(options.controllers[12].baud, 9600);
  const ControllerSetup& last = options.controllers[10];
  EXPECT_EQ(last.baud, 38400);
  EXPECT_EQ(last.protocol, 0x41);
  EXPECT_EQ(last.version, (std::array<std::uint8_t, 3>{0x12, 0xAB, 0x05}));
  EXPECT_EQ(last.form, AnswerForm::Bytes14);
  EXPECT_EQ(last.metadata, Metadata::At008B);
}

TEST(Options, FaultsAreReadAsWritten) {
  using Kind = Fault::Kind;
  constexpr int kForever = Fault::kForever;
  const std::pair<const char*, Fault> cases[] = {
      {"3:corrupt@1-2", {Kind::Corrupt, 1, 2}},
      {"3:lost-batch@7", {Kind::Silent, 7, 7, 0, {}, Command::Batch}},
      {"3:late=800/boot", {Kind::Late, 1, kForever, 0, 800ms, Command::Boot}},
      {"3-4:code=E1/checksum@1-3", {Kind::Code, 1, 3, 0xE1, {}, Command::Checksum}},
      {"3:short", {Kind::Short, 1, kForever, 1}},
      {"3:dead/erase@2-%25", {Kind::Dead, 2, kForever, 0, {}, Command::Erase, 0.25}},
  };
  for (const auto& [text, fault] : cases) {
    const Options options = ParseOptions(Words{"--fault", text, "--count", "5"});
    EXPECT_TRUE(options.controllers[2].faults.empty()) << text;
    ASSERT_EQ(options.controllers[3].faults.size(), 1U) << text;
    EXPECT_TRUE(options.controllers[3].faults[0] == fault) << text;
  }
}

TEST(Options, PhysicalCausesAreAppliedToTheControllersNamed) {
  const Options options = ParseOptions(Words{"--count", "6", "--noise", "3-5,0.5", "--lost-start", "4,30",
                                             "--slow-clock", "4,4.5", "--reflections", "0-31,100", "--double",
                                             "4", "--weak-bias", "200", "--latency", "16"});
  EXPECT_EQ(options.controllers[2].disturbance.noise, 0);
  const ControllerSetup& four = options.controllers[4];
  EXPECT_EQ(four.disturbance.noise, 0.005);
  EXPECT_EQ(four.disturbance.lostStart, 0.3);
  EXPECT_EQ(four.disturbance.slowClock, 0.045);
  EXPECT_EQ(four.disturbance.reflections, 1);
  EXPECT_EQ(options.controllers.back().number, 4);
  EXPECT_NE(options.controllers.back().version, four.version);
  EXPECT_EQ(options.line.idleInterval, 200ms);
  EXPECT_EQ(options.line.latency, 16ms);
}

TEST(Options, BadOnesAreRefusedByName) {
  const struct {
    Words words;
    const char* named;
  } cases[] = {
      {{}, "--controller"},
      {{"--qick"}, "--qick"},
      {{"--count", "4", "--seed", "-1"}, "\"-1\""},
      {{"--count", "4", "--unplug", "3"}, "FRAMES,MS"},
      {{"--controller", "32"}, "0 to 31"},
      {{"--controller", "3,bad=1"}, "\"bad\""},
      {{"--count", "4", "--fault", "3:sillent"}, "silent"},
      {{"--count", "4", "--fault", "3:late"}, "missing"},
      {{"--count", "4", "--fault", "3:echo=2"}, "takes no value"},
      {{"--count", "4", "--fault", "3:length=6"}, "7 to 261"},
      {{"--count", "3", "--fault", "3:echo"}, "no such controller"},
      {{"--count", "4", "--noise", "3"}, "NUMBERS,PERCENT"},
      {{"--count", "4", "--noise", "3,100.5"}, "at most 100"},
  };
  for (const auto& row : cases) {
    std::string said;
    try {
      ParseOptions(row.words);
    } catch (const OptionError& error) {
      said = error.what();
    }
    EXPECT_NE(said.find(row.named), std::string::npos) << testing::PrintToString(row.words) << said;
    EXPECT_TRUE(said.ends_with("See quillon-bus --help.")) << said;
  }
}

}  // namespace
}  // namespace bus
