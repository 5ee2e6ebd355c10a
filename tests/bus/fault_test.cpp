#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

#include "tests/bus/talk.h"

namespace bus {
namespace {

/// What the tool sees: '.' silence, '+' a good answer of 13 bytes, 'x' a wrong CRC, 'E' the code 0xE1,
/// 'L' another length with a good CRC, 's' a short answer, 'm' the message itself.
char Seen(const Bytes& answer, const Bytes& message) {
  if (answer.empty()) return '.';
  if (answer == message) return 'm';
  if (answer.size() < 7) return 's';
  if (CloseFrame(Bytes(answer.begin(), answer.end() - 3)) != answer) return 'x';
  if (answer[3] == 0xE1) return 'E';
  return answer.size() == 13 ? '+' : 'L';
}

std::string SeenOfChecks(Bus& line, int count) {
  Talk tool(line);
  std::string seen;
  for (int i = 0; i < count; ++i) seen += Seen(tool.Ask(Check(5)), Check(5));
  return seen;
}

struct FaultCase {
  std::string name;
  Fault fault;
  std::string seen;  // by six checks, one after the other
};
void PrintTo(const FaultCase& c, std::ostream* out) { *out << c.name; }

class Faults : public testing::TestWithParam<FaultCase> {};

TEST_P(Faults, StrikeAtTheMessagesNamed) {
  Bus line;
  line.Add({.number = 5, .faults = {GetParam().fault}});
  EXPECT_EQ(SeenOfChecks(line, 6), GetParam().seen);
}

using Kind = Fault::Kind;
INSTANTIATE_TEST_SUITE_P(Controller, Faults,
                         testing::Values(FaultCase{"SilentOnSecond", {Kind::Silent, 2, 2}, "+.++++"},
                                         FaultCase{"SilentAlways", {Kind::Silent}, "......"},
                                         FaultCase{"DeadFromThird", {Kind::Dead, 3, 3}, "++...."},
                                         FaultCase{"CorruptTwice", {Kind::Corrupt, 1, 2}, "xx++++"},
                                         FaultCase{"RefusesThreeTimes", {Kind::Code, 2, 4, 0xE1}, "+EEE++"},
                                         FaultCase{"Length12", {Kind::Length, 1, 3, 12}, "LLL+++"},
                                         FaultCase{"Length261", {Kind::Length, 6, 6, 261}, "+++++L"},
                                         FaultCase{"OneByte", {Kind::Short, 1, 1, 1}, "s+++++"},
                                         FaultCase{"Echo", {Kind::Echo, 4, Fault::kForever}, "+++mmm"},
                                         FaultCase{"OtherCommand",
                                                   {Kind::Silent, 1, Fault::kForever, 0, {}, Command::Erase},
                                                   "++++++"}),
                         [](const auto& row) { return row.param.name; });

TEST(Fault, ALateAnswerComesSoMuchLater) {
  Bus line;
  line.Add({.number = 5, .faults = {{.kind = Kind::Late, .last = 1, .delay = 800ms}}});
  line.Send(Check(5), k9600, 0s);
  EXPECT_EQ(line.NextArrival(), line.SendingEnds() + 5ms + 800ms + TimeOf(1, k9600));
}

TEST(Fault, ADeadControllerTakesNoFurtherBatch) {
  Bus line;
  line.Add({.number = 5, .faults = {{.kind = Kind::Dead, .first = 3, .command = Command::Batch}}});
  Talk tool(line);
  EXPECT_EQ(tool.Code(Erase(5)), 0x61);
  for (std::uint16_t at = 0; at < 10; ++at) tool.Ask(Batch(0x5F, at, {1}));
  EXPECT_EQ(line.At(5).BatchesTaken(), 2);
  EXPECT_EQ(tool.Code(FullChecksum(5, line.At(5).Checksum())), 0);
}

TEST(Fault, ARefusedChecksumIsAcceptedWhenItIsSentAgain) {
  Bus line;
  line.Add({.number = 5, .baud = 19200, .faults = {{Kind::Code, 1, 2, 0xE1, {}, Command::Checksum}}});
  Talk tool(line);
  EXPECT_EQ(tool.Code(Erase(5), k19200), 0x61);
  const Bytes message = FullChecksum(5, line.At(5).Checksum());
  EXPECT_EQ(tool.Code(message), 0xE1);
  EXPECT_EQ(tool.Code(message), 0xE1);
  EXPECT_EQ(tool.Code(message), 0x61);
}

TEST(Fault, ChanceStrikesAboutAsOftenAsToldAndAlikeForOneSeed) {
  const auto seen = [](std::uint64_t seed) {
    Bus line({.seed = seed});
    line.Add({.number = 5, .faults = {{.kind = Kind::Corrupt, .chance = 0.2}}});
    return SeenOfChecks(line, 500);
  };
  const std::string first = seen(7);
  const auto struck = std::count(first.begin(), first.end(), 'x');
  EXPECT_GT(struck, 60);
  EXPECT_LT(struck, 140);
  EXPECT_EQ(seen(7), first);
  EXPECT_NE(seen(7), seen(8));
}

}  // namespace
}  // namespace bus
