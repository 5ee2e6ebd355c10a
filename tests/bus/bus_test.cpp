#include "bus/bus.h"

#include <gtest/gtest.h>

namespace bus {
namespace {

using namespace std::chrono_literals;

constexpr LineFormat k9600{9600};
constexpr LineFormat k19200{19200};

/// Sends, waits for ten seconds, and returns what came.
Bytes Ask(Bus& line, const Bytes& message, const LineFormat& format = k9600) {
  line.AddBytesFromTool(message, format, line.SendingEnds() + 10s);
  return line.TakeBytesForTool(format, line.SendingEnds() + 10s);
}

Bytes Erase(std::uint8_t speedChoice = 0xAA, std::uint8_t protocol = 0x40) {
  return CloseFrame({protocol, 5, 4, 0x74, 0x55, speedChoice, 0xF0});
}

const Bytes kCheck = {0x40, 0x05, 0x01, 0x73, 0xF8, 0xA9, 0x04};
const Bytes kChecked = {0x40, 0x05, 0x07, 0x61, 0x00, 0x01, 0x02, 0x03, 0x1E, 0x02, 0xD7, 0xE2, 0x04};
const Bytes kChecked14 = {0x40, 0x05, 0x08, 0x61, 0x00, 0x00, 0x01, 0x02, 0x03, 0x1E, 0x02, 0x7B, 0x66, 0x04};
const Bytes kAccepts = {0x40, 0x05, 0x01, 0x61, 0xCA, 0xDA, 0x04};
const Bytes kRefuses = {0x40, 0x05, 0x01, 0xE1, 0x5B, 0x52, 0x04};
const Bytes kBoot = {0x40, 0x05, 0x04, 0x75, 0xAA, 0x55, 0x50, 0x38, 0x39, 0x04};
const Bytes kBooted = {0x40, 0x05, 0x07, 0x61, 0x00, 0x01, 0x00, 0x00, 0xB0, 0x07, 0x0D, 0x0E, 0x04};
const Bytes kTo3 = {0x40, 0x05, 0x01, 0x55, 0xBC, 0x0D, 0x04};
const Bytes kTo4 = {0x40, 0x23, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};

const Bytes kCheck6 = CloseFrame({0x40, 6, 1, 0x73});
const Bytes kBatch = CloseFrame({0x40, 5, 7, 0x75, 0xAA, 0x55, 0x10, 0, 0, 1});
const Bytes kErasedSum = CloseFrame({0x40, 5, 7, 0x75, 0xAA, 0x55, 0x0F, 0xDF, 0x1E, 0x02});
const Bytes kOtherSum = CloseFrame({0x40, 5, 7, 0x75, 0xAA, 0x55, 0x0F, 0xDE, 0x1E, 0x02});

const ControllerSetup kFive = {.number = 5};
const ControllerSetup kIn3 = {.number = 5, .protocol3 = true};
const ControllerSetup kOwnBoot = {.number = 5, .protocol = 0x41, .bootProtocol = BootProtocol::Own};
const ControllerSetup kFixedBoot = {.number = 5, .protocol = 0x41, .bootProtocol = BootProtocol::Fixed};

TEST(Controller, AnswersByItsState) {
  const struct {
    const char* name;
    ControllerSetup setup;
    Bytes message;
    Bytes answer;
    LineFormat format = k9600;
  } cases[] = {
      {"CheckLongForm", {.number = 5, .form = AnswerForm::Bytes14}, kCheck, kChecked14},
      {"CheckOtherNumber", kFive, kCheck6, {}},
      {"CheckOtherSpeed", kFive, kCheck, {}, k19200},
      {"CheckEvenParity", kFive, kCheck, {}, {9600, 8, 'E'}},
      {"CheckOtherProtocol", kFive, CloseFrame({0x41, 5, 1, 0x73}), {}},
      {"CheckIn3", kIn3, kCheck, {}},
      {"EraseIn3", kIn3, Erase(), kAccepts},
      {"EraseOtherProtocol", kFive, Erase(0xAA, 0x41), {}},
      {"EraseUnknownSpeedChoice", kFive, Erase(0xCC), kRefuses},
      {"BatchNotErased", kFive, kBatch, kRefuses},
      {"ChecksumRight", kFive, kErasedSum, kAccepts},
      {"ChecksumWrongAtTheTop", kFive, kOtherSum, kRefuses},
      {"BootOwnOnly", kOwnBoot, kBoot, {}},
      {"BootFixedOnly", kFixedBoot, CloseFrame({0x41, 5, 4, 0x75, 0xAA, 0x55, 0x50}), {}},
      {"To4OtherNumber", {.number = 6}, kTo4, {}},
  };
  for (const auto& row : cases) {
    Bus line;
    line.Add(row.setup);
    EXPECT_EQ(Ask(line, row.message, row.format), row.answer) << row.name;
  }
}

using Kind = Fault::Kind;

TEST(Controller, FaultsStrikeAtTheMessagesNamed) {
  const struct {
    const char* name;
    Fault fault;
    const char* struck;  // which of six checks, one after the other
    Bytes answer;        // to a check that was struck
  } cases[] = {
      {"Silent", {Kind::Silent, 2, 2}, ".X....", {}},
      {"Dead", {Kind::Dead, 3, 3}, "..XXXX", {}},
      {"Corrupt", {Kind::Corrupt, 1, 2}, "XX....", {0x40, 5, 7, 0x61, 0, 1, 2, 3, 0x1E, 2, 0xD7, 0x1D, 4}},
      {"Code", {Kind::Code, 2, 4, 0xE1}, ".XXX..", CloseFrame({0x40, 5, 7, 0xE1, 0, 1, 2, 3, 0x1E, 2})},
      {"Length", {Kind::Length, 1, 3, 12}, "XXX...", CloseFrame({0x40, 5, 6, 0x61, 0, 1, 2, 3, 0x1E})},
      {"Short", {Kind::Short, 1, 1, 2}, "X.....", {0x40, 0x05}},
      {"Echo", {Kind::Echo, 4, Fault::kForever}, "...XXX", kCheck},
      {"OtherCommand", {Kind::Silent, 1, Fault::kForever, 0, {}, Command::Erase}, "......", {}},
  };
  for (const auto& row : cases) {
    Bus line;
    line.Add({.number = 5, .faults = {row.fault}});
    for (int i = 0; i < 6; ++i)
      EXPECT_EQ(Ask(line, kCheck), row.struck[i] == 'X' ? row.answer : kChecked) << row.name << i;
  }
}

TEST(Controller, AMessageWhoseAnswerGotLostIsAnsweredAgainAtTheFormerSpeed) {
  Bus line;
  line.Add({.number = 5, .baud = 19200});
  EXPECT_EQ(Ask(line, Erase(), k19200), kAccepts);
  EXPECT_EQ(Ask(line, Erase(), k19200), kAccepts) << "repeated";
  EXPECT_EQ(Ask(line, kCheck, k19200), Bytes{}) << "another message at that speed is not for it";
  EXPECT_EQ(Ask(line, kErasedSum), kAccepts);
  EXPECT_EQ(Ask(line, kErasedSum), kAccepts) << "repeated";
  EXPECT_EQ(Ask(line, kCheck, k19200).size(), kChecked.size());
  EXPECT_EQ(Ask(line, kErasedSum), Bytes{}) << "it received a message at its new speed";
}

class Line : public testing::Test {
 protected:
  Line() { line_.Add({.number = 5}); }

  Bus line_;
};

TEST_F(Line, BytesTakeElevenBitTimesEachInBothDirectionsAndAnAnswerItsDelay) {
  const Fault late{.kind = Kind::Late, .last = 1, .delay = 800ms};
  line_.Add({.number = 6, .faults = {late}});
  const std::pair<const Bytes&, Time> kQuestions[] = {{kCheck, 5ms}, {kCheck6, 805ms}};
  for (const auto& [question, delay] : kQuestions) {
    const Time begin = line_.SendingEnds() + 10s;
    line_.AddBytesFromTool(question, k9600, begin);
    EXPECT_EQ(line_.SendingEnds(), begin + Time(7 * 11 * 1'000'000'000LL / 9600));
    for (int byte = 1; byte <= 13; ++byte) {
      const Time arrives = line_.SendingEnds() + delay + Time(byte * 11 * 1'000'000'000LL / 9600);
      EXPECT_EQ(line_.NextArrival(), arrives);
      EXPECT_TRUE(line_.TakeBytesForTool(k9600, arrives - 1ns).empty());
      EXPECT_EQ(line_.TakeBytesForTool(byte == 13 ? k19200 : k9600, arrives).size(), byte == 13 ? 0U : 1U)
          << "at another speed the tool does not read the last one";
    }
  }
}

TEST_F(Line, AnswersThatBeginTogetherArePulledDownToTheirZeros) {
  line_.Add({.number = 5, .version = {0xF1, 0x00, 0x02}});
  Bytes both = Ask(line_, kCheck);
  ASSERT_EQ(both.size(), kChecked.size());
  both.resize(8);
  EXPECT_EQ(both, (Bytes{0x40, 5, 7, 0x61, 0, 0x01, 0x00, 0x02}));
}

TEST_F(Line, SendingIntoAnAnswerDestroysBothAndAnEchoReturnsWhatIsSent) {
  line_.AddBytesFromTool(kCheck, k9600, 0s);
  line_.AddBytesFromTool(kCheck, k9600, line_.SendingEnds() + 5ms + TimeOf(4, k9600));
  EXPECT_EQ(line_.TakeBytesForTool(k9600, 1s).size(), 6U) << "seven bytes of thirteen met the second frame";
  EXPECT_EQ(line_.Answers().size(), 1U) << "no controller answers the damaged frame";
  Bus echoing({.echo = true});
  EXPECT_EQ(Ask(echoing, kCheck), kCheck);
}

const Bytes kText1 = {0x40, 0x1F, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};  // 0x1F could be an address too

TEST_F(Line, FramesSentInOneGoAreFoundOneByOne) {
  Bytes longest = {0x40, 0x5F, 255};
  longest.resize(kBeforePayload + 255);
  const std::vector<Bytes> frames = {kCheck6, kText1, CloseFrame(longest), kCheck6};
  for (const Bytes& frame : frames) line_.AddBytesFromTool(frame, {11'000}, 0s);  // a byte a millisecond
  ASSERT_EQ(line_.Traffic().size(), frames.size());
  for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(line_.Traffic()[i].bytes, frames[i]) << i;
  EXPECT_EQ(line_.Traffic().back().ends, 284ms);
}

TEST_F(Line, NoSingleWrongBitGetsThrough) {
  for (int bit = 0; bit < 7 * 8; ++bit) {
    Bytes damaged = kCheck;
    damaged[bit / 8] ^= static_cast<std::uint8_t>(1 << bit % 8);
    EXPECT_TRUE(Ask(line_, damaged).empty()) << "bit " << bit;
    EXPECT_EQ(Ask(line_, kCheck), kChecked) << "the good frame after wrong bit " << bit;
  }
}

}  // namespace
}  // namespace bus
