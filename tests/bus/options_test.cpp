#include "bus/options.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace bus {
namespace {

using namespace std::chrono_literals;
using Words = std::vector<std::string>;

TEST(Options, ControllersTakeTheirKeysAndSpeedsInTurn) {
  const Options options = ParseOptions(
      Words{"--controller", "30-31,baud=4800/38400,protocol=65,version=12AB05,form=14,metadata=008B",
            "--controller", "2"});
  ASSERT_EQ(options.controllers.size(), 3U);
  EXPECT_EQ(options.controllers[0].baud, 4800);
  EXPECT_EQ(options.controllers[1].number, 31);
  EXPECT_EQ(options.controllers[1].baud, 38400);
  EXPECT_EQ(options.controllers[1].protocol, 0x41);
  EXPECT_EQ(options.controllers[1].version, (std::array<std::uint8_t, 3>{0x12, 0xAB, 0x05}));
  EXPECT_EQ(options.controllers[1].form, AnswerForm::Bytes14);
  EXPECT_EQ(options.controllers[1].metadata, Metadata::At008B);
}

TEST(Options, FaultsAreReadAsTold) {
  using Kind = Fault::Kind;
  constexpr int kForever = Fault::kForever;
  const struct {
    const char* text;
    Fault fault;
  } cases[] = {
      {"3:corrupt@1-2", {Kind::Corrupt, 1, 2}},
      {"3:lost-batch@7", {Kind::Silent, 7, 7, 0, {}, Command::Batch}},
      {"3:late=800/boot", {Kind::Late, 1, kForever, 0, 800ms, Command::Boot}},
      {"3-4:code=E1/checksum@1-3", {Kind::Code, 1, 3, 0xE1, {}, Command::Checksum}},
      {"3:short", {Kind::Short, 1, kForever, 1}},
      {"3:dead/erase@2-%25", {Kind::Dead, 2, kForever, 0, {}, Command::Erase, 0.25}},
  };
  const auto all = [](const Fault& f) {
    return std::tuple(f.kind, f.first, f.last, f.value, f.delay, f.command, f.chance);
  };
  for (const auto& row : cases) {
    const Options options = ParseOptions(Words{"--fault", row.text, "--count", "5"});
    EXPECT_TRUE(options.controllers[2].faults.empty()) << row.text;
    ASSERT_EQ(options.controllers[3].faults.size(), 1U) << row.text;
    EXPECT_TRUE(all(options.controllers[3].faults[0]) == all(row.fault)) << row.text;
  }
}

TEST(Options, BadOnesAreRefusedByName) {
  const struct {
    Words words;
    const char* named;
  } cases[] = {
      {{}, "--controller"},
      {{"--qick"}, "--qick"},
      {{"--count", "33"}, "0 to 32"},
      {{"--controller", "32"}, "0 to 31"},
      {{"--controller", "3x"}, "\"3x\""},
      {{"--controller", "3,baud=0"}, "\"0\""},
      {{"--controller", "3,bad=1"}, "\"bad\""},
      {{"--count", "4", "--fault", "3:sillent"}, "silent"},
      {{"--count", "4", "--fault", "3:late"}, "missing"},
      {{"--count", "4", "--fault", "3:echo=2"}, "takes no value"},
      {{"--count", "4", "--fault", "3:length=6"}, "7 to 261"},
      {{"--count", "3", "--fault", "3:echo"}, "no such controller"},
  };
  for (const auto& row : cases) {
    try {
      ParseOptions(row.words);
      ADD_FAILURE() << "taken: " << testing::PrintToString(row.words);
    } catch (const OptionError& error) {
      EXPECT_NE(std::string(error.what()).find(row.named), std::string::npos) << error.what();
      EXPECT_NE(std::string(error.what()).find("--help"), std::string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace bus
