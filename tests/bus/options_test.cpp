#include "bus/options.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace bus {
namespace {

using namespace std::chrono_literals;
using Words = std::vector<std::string>;

TEST(Options, ControllersTakeTheirKeysAndSpeedsInTurn) {
  const Options options = ParseOptions(
      Words{"--controller", "30-31,baud=4800/38400,protocol=65,version=12AB05,form=14,metadata=008B",
            "--count", "2"});
  ASSERT_EQ(options.controllers.size(), 4U);
  EXPECT_EQ(options.controllers[0].number, 30);
  EXPECT_EQ(options.controllers[0].baud, 4800);
  EXPECT_EQ(options.controllers[1].number, 31);
  EXPECT_EQ(options.controllers[1].baud, 38400);
  EXPECT_EQ(options.controllers[1].protocol, 0x41);
  EXPECT_EQ(options.controllers[1].version, (std::array<std::uint8_t, 3>{0x12, 0xAB, 0x05}));
  EXPECT_EQ(options.controllers[1].form, AnswerForm::Bytes14);
  EXPECT_EQ(options.controllers[1].metadata, Metadata::At008B);
  EXPECT_EQ(options.controllers[3].number, 1);
  EXPECT_EQ(options.controllers[3].baud, 9600);
}

struct FaultText {
  std::string name;
  std::string text;
  Fault fault;
};
void PrintTo(const FaultText& c, std::ostream* out) { *out << c.text; }

class FaultGrammar : public testing::TestWithParam<FaultText> {};

TEST_P(FaultGrammar, IsReadAsTold) {
  const Options options = ParseOptions(Words{"--fault", GetParam().text, "--count", "5"});
  EXPECT_TRUE(options.controllers[2].faults.empty());
  ASSERT_EQ(options.controllers[3].faults.size(), 1U);
  const Fault& fault = options.controllers[3].faults[0];
  const Fault& told = GetParam().fault;
  EXPECT_EQ(fault.kind, told.kind);
  EXPECT_EQ(fault.first, told.first);
  EXPECT_EQ(fault.last, told.last);
  EXPECT_EQ(fault.value, told.value);
  EXPECT_EQ(fault.delay, told.delay);
  EXPECT_EQ(fault.command, told.command);
  EXPECT_DOUBLE_EQ(fault.chance, told.chance);
}

using Kind = Fault::Kind;
constexpr int kForever = Fault::kForever;
INSTANTIATE_TEST_SUITE_P(
    Options, FaultGrammar,
    testing::Values(
        FaultText{"Always", "3:silent", {Kind::Silent}},
        FaultText{"Once", "3:silent@2", {Kind::Silent, 2, 2}},
        FaultText{"Span", "3:corrupt@1-2", {Kind::Corrupt, 1, 2}},
        FaultText{"OpenSpan", "3:echo@4-", {Kind::Echo, 4, kForever}},
        FaultText{"LostBatch", "3:lost-batch@7", {Kind::Silent, 7, 7, 0, {}, Command::Batch}},
        FaultText{"Late", "3:late=800/boot", {Kind::Late, 1, kForever, 0, 800ms, Command::Boot}},
        FaultText{"Code", "3-4:code=E1/checksum@1-3", {Kind::Code, 1, 3, 0xE1, {}, Command::Checksum}},
        FaultText{"Length", "3:length=12", {Kind::Length, 1, kForever, 12}},
        FaultText{"ShortOne", "3:short", {Kind::Short, 1, kForever, 1}},
        FaultText{"ShortTwo", "3:short=2", {Kind::Short, 1, kForever, 2}},
        FaultText{"Chance", "3:dead/erase@2-%25", {Kind::Dead, 2, kForever, 0, {}, Command::Erase, 0.25}}),
    [](const auto& row) { return row.param.name; });

struct BadOption {
  std::string name;
  Words words;
  std::string names;  // what the error has to name
};
void PrintTo(const BadOption& c, std::ostream* out) { *out << c.name; }

class BadOptions : public testing::TestWithParam<BadOption> {};

TEST_P(BadOptions, AreRefusedByName) {
  try {
    ParseOptions(GetParam().words);
    FAIL() << "taken";
  } catch (const OptionError& error) {
    EXPECT_NE(std::string(error.what()).find(GetParam().names), std::string::npos) << error.what();
    EXPECT_NE(std::string(error.what()).find("--help"), std::string::npos) << error.what();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Options, BadOptions,
    testing::Values(BadOption{"Nothing", {}, "--controller"}, BadOption{"Unknown", {"--qick"}, "--qick"},
                    BadOption{"NoValue", {"--count"}, "--count"},
                    BadOption{"TooMany", {"--count", "33"}, "0 to 32"},
                    BadOption{"Number32", {"--controller", "32"}, "0 to 31"},
                    BadOption{"FallingRange", {"--controller", "5-3"}, "5 to 31"},
                    BadOption{"TrailingText", {"--controller", "3x"}, "3x"},
                    BadOption{"NoSpeed", {"--controller", "3,baud="}, "baud"},
                    BadOption{"SpeedZero", {"--controller", "3,baud=0"}, "baud"},
                    BadOption{"Key", {"--controller", "3,bad=1"}, "\"bad\""},
                    BadOption{"Version", {"--controller", "3,version=12"}, "six"},
                    BadOption{"FaultKind", {"--count", "4", "--fault", "3:sillent"}, "silent"},
                    BadOption{"FaultValueMissing", {"--count", "4", "--fault", "3:late"}, "late=MS"},
                    BadOption{
                        "FaultValueUnwanted", {"--count", "4", "--fault", "3:echo=2"}, "takes no value"},
                    BadOption{"FaultLengthTooShort", {"--count", "4", "--fault", "3:length=6"}, "7 to 261"},
                    BadOption{"FaultOfNobody", {"--count", "3", "--fault", "3:echo"}, "no such controller"},
                    BadOption{"Unplug", {"--count", "3", "--unplug", "4"}, "time away"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace bus
