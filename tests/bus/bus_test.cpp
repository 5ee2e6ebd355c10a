#include "bus/bus.h"

#include <gtest/gtest.h>

namespace bus {
namespace {

using namespace std::chrono_literals;

constexpr LineFormat k9600{9600};
constexpr LineFormat k19200{19200};

std::uint8_t Low(std::uint64_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

Bytes Check(int number, std::uint8_t protocol = 0x40) { return CloseFrame({protocol, Low(number), 1, 0x73}); }

Bytes Erase(int number, std::uint8_t speedChoice = 0xAA, std::uint8_t protocol = 0x40) {
  return CloseFrame({protocol, Low(number), 4, 0x74, 0x55, speedChoice, 0xF0});
}

/// A programming batch; `address` 0x5F is for all.
Bytes Batch(int address, std::uint16_t at, const Bytes& data) {
  Bytes frame = {0x40, Low(address), Low(data.size() + 6), 0x75, 0xAA, 0x55, 0x10, Low(at >> 8), Low(at)};
  frame.insert(frame.end(), data.begin(), data.end());
  return CloseFrame(frame);
}

Bytes FullChecksum(int number, std::uint32_t sum) {
  return CloseFrame({0x40, Low(number), 7, 0x75, 0xAA, 0x55, 0x0F, Low(sum >> 16), Low(sum >> 8), Low(sum)});
}

/// A tool of a few lines: sends, waits as long as it takes, reads.
class Talk {
 public:
  explicit Talk(Bus& line) : line_(line) {}

  /// Everything that comes back within ten seconds.
  Bytes Ask(const Bytes& message, const LineFormat& format = k9600) {
    line_.Send(message, format, now_);
    now_ += 10s;
    return line_.Receive(format, now_);
  }

 private:
  Bus& line_;
  Time now_{};
};

constexpr std::uint32_t kErasedSum = 0xDF1E02;

const Bytes kCheck = {0x40, 0x05, 0x01, 0x73, 0xF8, 0xA9, 0x04};
const Bytes kChecked = {0x40, 0x05, 0x07, 0x61, 0x00, 0x01, 0x02, 0x03, 0x1E, 0x02, 0xD7, 0xE2, 0x04};
const Bytes kChecked14 = {0x40, 0x05, 0x08, 0x61, 0x00, 0x00, 0x01, 0x02, 0x03, 0x1E, 0x02, 0x7B, 0x66, 0x04};
const Bytes kAccepts = {0x40, 0x05, 0x01, 0x61, 0xCA, 0xDA, 0x04};
const Bytes kRefuses = {0x40, 0x05, 0x01, 0xE1, 0x5B, 0x52, 0x04};
const Bytes kBoot = {0x40, 0x05, 0x04, 0x75, 0xAA, 0x55, 0x50, 0x38, 0x39, 0x04};
const Bytes kBoot41 = CloseFrame({0x41, 0x05, 0x04, 0x75, 0xAA, 0x55, 0x50});
const Bytes kBooted = {0x40, 0x05, 0x07, 0x61, 0x00, 0x01, 0x00, 0x00, 0xB0, 0x07, 0x0D, 0x0E, 0x04};
const Bytes kTo3 = {0x40, 0x05, 0x01, 0x55, 0xBC, 0x0D, 0x04};
const Bytes kTo4 = {0x40, 0x23, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};

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
      {"Check", kFive, kCheck, kChecked},
      {"CheckLongForm", {.number = 5, .form = AnswerForm::Bytes14}, kCheck, kChecked14},
      {"CheckOtherNumber", kFive, Check(6), {}},
      {"CheckOtherSpeed", kFive, kCheck, {}, k19200},
      {"CheckOneStopBit", kFive, kCheck, {}, {9600, 8, 'N', 1}},
      {"CheckEvenParity", kFive, kCheck, {}, {9600, 8, 'E'}},
      {"CheckOtherProtocol", kFive, Check(5, 0x41), {}},
      {"CheckIn3", kIn3, kCheck, {}},
      {"EraseIn3", kIn3, Erase(5), kAccepts},
      {"EraseOtherProtocol", kFive, Erase(5, 0xAA, 0x41), {}},
      {"EraseUnknownSpeedChoice", kFive, Erase(5, 0xCC), kRefuses},
      {"BatchNotErased", kFive, Batch(5, 0, {1}), kRefuses},
      {"ChecksumRight", kFive, FullChecksum(5, kErasedSum), kAccepts},
      {"ChecksumWrongAtTheTop", kFive, FullChecksum(5, kErasedSum - 0x10000), kRefuses},
      {"Boot", kFive, kBoot, kBooted},
      {"BootOwnOnly", kOwnBoot, kBoot, {}},
      {"BootFixedOnly", kFixedBoot, kBoot41, {}},
      {"To3", kFive, kTo3, kAccepts},
      {"To4", kFive, kTo4, {0x68, 0x2F}},
      {"To4OtherNumber", {.number = 6}, kTo4, {}},
  };
  for (const auto& row : cases) {
    Bus line;
    line.Add(row.setup);
    EXPECT_EQ(Talk(line).Ask(row.message, row.format), row.answer) << row.name;
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
    Talk tool(line);
    for (int i = 0; i < 6; ++i)
      EXPECT_EQ(tool.Ask(kCheck), row.struck[i] == 'X' ? row.answer : kChecked) << row.name << i;
  }
}

TEST(Controller, ALateAnswerComesSoMuchLater) {
  Bus line;
  line.Add({.number = 5, .faults = {{.kind = Kind::Late, .last = 1, .delay = 800ms}}});
  line.Send(kCheck, k9600, 0s);
  EXPECT_EQ(line.NextArrival(), line.SendingEnds() + 5ms + 800ms + TimeOf(1, k9600));
}

TEST(Controller, AMessageWhoseAnswerGotLostIsAnsweredAgainAtTheFormerSpeed) {
  Bus line;
  line.Add({.number = 5, .baud = 19200});
  Talk tool(line);
  EXPECT_EQ(tool.Ask(Erase(5), k19200), kAccepts);
  EXPECT_EQ(tool.Ask(Erase(5), k19200), kAccepts) << "repeated";
  EXPECT_EQ(tool.Ask(kCheck, k19200), Bytes{}) << "another message there is none of its business";
  EXPECT_EQ(tool.Ask(FullChecksum(5, kErasedSum)), kAccepts);
  EXPECT_EQ(tool.Ask(FullChecksum(5, kErasedSum)), kAccepts) << "repeated";
  EXPECT_EQ(tool.Ask(kCheck, k19200).size(), kChecked.size());
  EXPECT_EQ(tool.Ask(FullChecksum(5, kErasedSum)), Bytes{}) << "it was heard at its new speed: that is over";
}

class Line : public testing::Test {
 protected:
  Line() { line_.Add({.number = 5}); }

  Bus line_;
};

TEST_F(Line, BytesTakeElevenBitTimesEachInBothDirections) {
  line_.Send(kCheck, k9600, 1s);
  const Time frameEnds = 1s + Time(7 * 11 * 1'000'000'000LL / 9600);
  EXPECT_EQ(line_.SendingEnds(), frameEnds);
  const Time firstByte = frameEnds + 5ms + Time(11 * 1'000'000'000LL / 9600);
  EXPECT_EQ(line_.NextArrival(), firstByte);
  EXPECT_TRUE(line_.Receive(k9600, firstByte - 1ns).empty());
  EXPECT_EQ(line_.Receive(k9600, firstByte).size(), 1U);
  const Time lastByte = frameEnds + 5ms + Time(13 * 11 * 1'000'000'000LL / 9600);
  EXPECT_EQ(line_.Receive(k9600, lastByte - 1ns).size(), 11U);
  EXPECT_EQ(line_.Receive(k9600, lastByte).size(), 1U);
}

TEST_F(Line, AnAnswerIsLostOnAToolThatListensAtAnotherSpeed) {
  line_.Send(kCheck, k9600, 0s);
  EXPECT_TRUE(line_.Receive(k19200, 1s).empty());
  EXPECT_TRUE(line_.Receive(k9600, 2s).empty());
}

TEST_F(Line, SendingIntoAnAnswerDestroysBoth) {
  line_.Send(kCheck, k9600, 0s);
  line_.Send(kCheck, k9600, line_.SendingEnds() + 5ms + TimeOf(4, k9600));
  EXPECT_EQ(line_.Receive(k9600, 1s).size(), 6U) << "seven bytes of thirteen met the second frame";
  EXPECT_EQ(line_.Answers().size(), 1U) << "the garbled frame is answered by nobody";
}

const Bytes kText1 = {0x40, 0x1F, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};  // 0x1F could be an address too

TEST_F(Line, FramesHandedOverTogetherAreToldApart) {
  const std::vector<Bytes> frames = {Check(7), kText1, Batch(0x5F, 0, Bytes(128, 0)), Check(7)};
  for (const Bytes& frame : frames) line_.Send(frame, {11'000}, 0s);  // a byte a millisecond
  ASSERT_EQ(line_.Traffic().size(), frames.size());
  for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(line_.Traffic()[i].bytes, frames[i]) << i;
  EXPECT_EQ(line_.Traffic().back().ends, 163ms);
}

TEST_F(Line, NoSingleWrongBitGetsThrough) {
  Talk tool(line_);
  for (int bit = 0; bit < 7 * 8; ++bit) {
    Bytes damaged = kCheck;
    damaged[bit / 8] ^= Low(1 << bit % 8);
    EXPECT_TRUE(tool.Ask(damaged).empty()) << "bit " << bit;
    EXPECT_EQ(tool.Ask(kCheck), kChecked) << "the good frame behind wrong bit " << bit;
  }
}

}  // namespace
}  // namespace bus
