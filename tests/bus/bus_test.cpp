#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>

#include "tests/bus/talk.h"

namespace bus {
namespace {

// The sum of an erased flash, and where an image tells of itself.
constexpr std::uint32_t kErasedSum = 0xDF1E02;
constexpr std::uint16_t kVersionRecord = 0x2010;
constexpr std::uint16_t kSettingsRecord = 0x2020;
const Bytes kVersion123456 = {0, 0, 0, 0, 0, '1', '2', '-', '3', '4', '-', '5', '6', 0, 0, 0};
const Bytes kProtocol41At19200 = {0xA0, 0, 0x41, 9};

std::uint32_t SumWith(const std::vector<Bytes>& programmed) {
  std::uint32_t sum = kErasedSum;
  for (const Bytes& data : programmed)
    for (const std::uint8_t byte : data) sum -= 0xFFU - byte;
  return sum;
}

struct AnswerCase {
  std::string name;
  ControllerSetup setup;
  LineFormat format;
  Bytes message;
  Bytes answer;
};
void PrintTo(const AnswerCase& c, std::ostream* out) { *out << c.name; }

class Answers : public testing::TestWithParam<AnswerCase> {};

TEST_P(Answers, AreWhatAControllerInThisStateGives) {
  Bus line;
  line.Add(GetParam().setup);
  EXPECT_EQ(Talk(line).Ask(GetParam().message, GetParam().format), GetParam().answer);
}

const ControllerSetup kFive = {.number = 5};
const Bytes kAccepts = {0x40, 0x05, 0x01, 0x61, 0xCA, 0xDA, 0x04};
const Bytes kRefuses = {0x40, 0x05, 0x01, 0xE1, 0x5B, 0x52, 0x04};
const Bytes kChecked = {0x40, 0x05, 0x07, 0x61, 0x00, 0x01, 0x02, 0x03, 0x1E, 0x02, 0xD7, 0xE2, 0x04};
const Bytes kChecked14 = {0x40, 0x05, 0x08, 0x61, 0x00, 0x00, 0x01, 0x02, 0x03, 0x1E, 0x02, 0x7B, 0x66, 0x04};
const Bytes kBooted = {0x40, 0x05, 0x07, 0x61, 0x00, 0x01, 0x00, 0x00, 0xB0, 0x07, 0x0D, 0x0E, 0x04};
const Bytes kBoot = {0x40, 0x05, 0x04, 0x75, 0xAA, 0x55, 0x50, 0x38, 0x39, 0x04};
const Bytes kBoot41 = CloseFrame({0x41, 0x05, 0x04, 0x75, 0xAA, 0x55, 0x50});
const Bytes kTo3 = {0x40, 0x05, 0x01, 0x55, 0xBC, 0x0D, 0x04};
const Bytes kTo4 = {0x40, 0x23, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};
const ControllerSetup kOwnBoot = {.number = 5, .protocol = 0x41, .bootProtocol = BootProtocol::Own};
const ControllerSetup kFixedBoot = {.number = 5, .protocol = 0x41, .bootProtocol = BootProtocol::Fixed};

INSTANTIATE_TEST_SUITE_P(
    Controller, Answers,
    testing::Values(
        AnswerCase{"Check", kFive, k9600, Check(5), kChecked},
        AnswerCase{"CheckLongForm", {.number = 5, .form = AnswerForm::Bytes14}, k9600, Check(5), kChecked14},
        AnswerCase{"CheckOtherNumber", kFive, k9600, Check(6), {}},
        AnswerCase{"CheckOtherSpeed", kFive, k19200, Check(5), {}},
        AnswerCase{"CheckOneStopBit", kFive, LineFormat{9600, 8, 'N', 1}, Check(5), {}},
        AnswerCase{"CheckEvenParity", kFive, LineFormat{9600, 8, 'E', 2}, Check(5), {}},
        AnswerCase{"CheckOtherProtocol", kFive, k9600, Check(5, 0x41), {}},
        AnswerCase{"CheckIn3", {.number = 5, .protocol3 = true}, k9600, Check(5), {}},
        AnswerCase{"EraseIn3", {.number = 5, .protocol3 = true}, k9600, Erase(5), kAccepts},
        AnswerCase{"Erase", kFive, k9600, Erase(5), kAccepts},
        AnswerCase{"EraseOtherProtocol", kFive, k9600, Erase(5, 0xAA, 0x41), {}},
        AnswerCase{"EraseUnknownSpeedChoice", kFive, k9600, Erase(5, 0xCC), kRefuses},
        AnswerCase{"BatchForAll", kFive, k9600, Batch(0x5F, 0, {1}), {}},
        AnswerCase{"BatchNotErased", kFive, k9600, Batch(5, 0, {1}), kRefuses},
        AnswerCase{"ChecksumRight", kFive, k9600, FullChecksum(5, kErasedSum), kAccepts},
        AnswerCase{"ChecksumWrong", kFive, k9600, FullChecksum(5, kErasedSum - 0x10000), kRefuses},
        AnswerCase{"Boot", kFive, k9600, kBoot, kBooted},
        AnswerCase{"BootOwnOnly", kOwnBoot, k9600, kBoot, {}},
        AnswerCase{"BootFixedOnly", kFixedBoot, k9600, kBoot41, {}},
        AnswerCase{"To3", kFive, k9600, kTo3, kAccepts}, AnswerCase{"To4", kFive, k9600, kTo4, {0x68, 0x2F}},
        AnswerCase{"To4OtherNumber", {.number = 6}, k9600, kTo4, {}}),
    [](const auto& row) { return row.param.name; });

TEST(Line, EveryNumberAnswersForItselfOnAFullBus) {
  Bus line;
  for (int number = 0; number < 32; ++number)
    line.Add({.number = number, .baud = number % 2 == 0 ? 9600 : 19200});
  Talk tool(line);
  for (int number = 0; number < 32; ++number) {
    const Bytes answer = tool.Ask(Check(number), number % 2 == 0 ? k9600 : k19200);
    ASSERT_EQ(answer.size(), 13U) << number;
    EXPECT_EQ(answer[1], number);
  }
  EXPECT_THROW(line.Add({.number = 32}), std::invalid_argument);
}

TEST(Line, BytesTakeElevenBitTimesEachInBothDirections) {
  Bus line;
  line.Add({.number = 5, .baud = 4800});
  line.Send(Check(5), {4800}, 1s);
  const Time frameEnds = 1s + Time(7 * 11 * 1'000'000'000LL / 4800);
  EXPECT_EQ(line.SendingEnds(), frameEnds);
  const Time firstByte = frameEnds + 5ms + Time(11 * 1'000'000'000LL / 4800);
  EXPECT_EQ(line.NextArrival(), firstByte);
  EXPECT_TRUE(line.Receive({4800}, firstByte - 1ns).empty());
  EXPECT_EQ(line.Receive({4800}, firstByte).size(), 1U);
  const Time lastByte = frameEnds + 5ms + Time(13 * 11 * 1'000'000'000LL / 4800);
  EXPECT_EQ(line.Receive({4800}, lastByte - 1ns).size(), 11U);
  EXPECT_EQ(line.Receive({4800}, lastByte).size(), 1U);
  EXPECT_EQ(line.NextArrival(), std::nullopt);
}

TEST(Line, FramesHandedOverTogetherLeaveOneBehindTheOther) {
  Bus line;
  line.Send(Batch(0x5F, 0, Bytes(128, 0)), k9600, 0s);
  line.Send(Batch(0x5F, 128, Bytes(128, 0)), k9600, 10ms);
  ASSERT_EQ(line.Traffic().size(), 2U);
  EXPECT_EQ(line.Traffic()[1].begins, TimeOf(140, k9600));
  EXPECT_EQ(line.SendingEnds(), TimeOf(140, k9600) * 2);
}

TEST(Line, UnpacedBytesTakeNoTime) {
  Bus line({.answerDelay = 2ms, .paced = false});
  line.Add(kFive);
  line.Send(Check(5), k9600, 1s);
  EXPECT_EQ(line.SendingEnds(), 1s);
  EXPECT_EQ(line.Receive(k9600, 1s + 2ms), kChecked);
}

TEST(Line, AnAnswerIsLostOnAToolThatListensAtAnotherSpeed) {
  Bus line;
  line.Add(kFive);
  line.Send(Check(5), k9600, 0s);
  EXPECT_TRUE(line.Receive(k19200, 1s).empty());
  EXPECT_TRUE(line.Receive(k9600, 2s).empty());
}

TEST(Line, AnEchoingAdapterGivesBackTheFrameAheadOfTheAnswer) {
  Bus line({.echo = true});
  line.Add(kFive);
  line.Send(Check(5), k9600, 0s);
  EXPECT_EQ(line.Receive(k9600, line.SendingEnds()), Check(5));
  EXPECT_EQ(line.Receive(k9600, 1s), kChecked);
}

TEST(Line, SendingIntoAnAnswerDestroysBoth) {
  Bus line;
  line.Add(kFive);
  line.Send(Check(5), k9600, 0s);
  const Time intoAnswer = line.SendingEnds() + 5ms + TimeOf(4, k9600);
  line.Send(Check(5), k9600, intoAnswer);
  EXPECT_EQ(line.Receive(k9600, 1s).size(), 6U) << "seven bytes of thirteen met the second frame";
  ASSERT_EQ(line.Traffic().size(), 2U);
  EXPECT_FALSE(line.Traffic()[1].intact);
  EXPECT_EQ(line.Answers().size(), 1U) << "the garbled frame is answered by nobody";
}

TEST(Line, TwoWithOneNumberSpoilEachOthersAnswersUnlessTheyAreEqual) {
  Bus line;
  line.Add(kFive);
  line.Add(kFive);
  Talk tool(line);
  EXPECT_EQ(tool.Ask(Check(5)), kChecked);
  line.Add({.number = 5, .version = {0x80, 0x7F, 0x55}});
  const Bytes joint = tool.Ask(Check(5));
  ASSERT_EQ(joint.size(), 13U);
  EXPECT_EQ(Bytes(joint.begin() + 5, joint.begin() + 8), (Bytes{0x00, 0x02, 0x01}));
  EXPECT_NE(CloseFrame(Bytes(joint.begin(), joint.end() - 3)), joint) << "the CRC has to tell";
}

/// A download as the tool does it: erase each, batches for all, checksum of each.
class Download : public testing::Test {
 protected:
  void Program(const std::vector<std::pair<std::uint16_t, Bytes>>& image, const LineFormat& format = k9600) {
    for (const auto& [at, data] : image) EXPECT_TRUE(tool_.Ask(Batch(0x5F, at, data), format).empty());
  }

  Bus line_;
  Talk tool_{line_};
};

TEST_F(Download, ControllersAtTwoSpeedsMeetAtTheDownloadSpeedAndLeaveItWithTheImages) {
  line_.Add({.number = 3, .baud = 9600});
  line_.Add({.number = 4, .baud = 38400});
  line_.Add({.number = 6, .baud = 9600});  // not erased: takes no batch
  EXPECT_EQ(tool_.Code(Erase(3)), 0x61);
  EXPECT_EQ(tool_.Code(Erase(4), {38400}), 0x61);
  EXPECT_EQ(line_.At(4).Checksum(), kErasedSum);
  Program({{0, {1, 2, 3}}, {kVersionRecord, kVersion123456}, {kSettingsRecord, kProtocol41At19200}});
  const std::uint32_t sum = SumWith({{1, 2, 3}, kVersion123456, kProtocol41At19200});
  EXPECT_EQ(line_.At(6).Checksum(), kErasedSum);
  for (const int number : {3, 4}) {
    EXPECT_EQ(tool_.Code(FullChecksum(number, sum)), 0x61) << number;
    EXPECT_EQ(tool_.Code(Check(number)), 0) << "the download speed is over";
    const Bytes answer = tool_.Ask(Check(number, 0x41), k19200);
    ASSERT_EQ(answer.size(), 13U);
    EXPECT_EQ(Bytes(answer.begin() + 5, answer.begin() + 8), (Bytes{0x12, 0x34, 0x56}));
    EXPECT_EQ(answer[8] << 8 | answer[9], static_cast<int>(sum & 0xFFFF));
  }
}

TEST_F(Download, AnImageThatTellsOfItselfAt008BCountsLikewise) {
  line_.Add({.number = 3});
  EXPECT_EQ(tool_.Code(Erase(3)), 0x61);
  Program({{0x007B, Bytes(15, 0)}, {0x008A, {0x12, 0x05, 0x31, 0x10, 0x42}}});
  EXPECT_EQ(tool_.Code(FullChecksum(3, line_.At(3).Checksum())), 0x61);
  EXPECT_EQ(line_.At(3).Protocol(), 0x42);
  EXPECT_EQ(line_.At(3).Version(), (std::array<std::uint8_t, 3>{0x12, 0x05, 0x31}));
}

TEST_F(Download, TheImagesRateCodeGivesTheSpeedOrLeavesTheOldOne) {
  const std::array<int, 8> speeds = {4800, 9600, 19200, 38400, 57600, 115200, 31250, 31250};
  for (int code = 0; code < 8; ++code) {
    line_.Add({.number = code, .baud = 31250});
    EXPECT_EQ(tool_.Code(Erase(code), {31250}), 0x61);
    const auto flags = static_cast<std::uint8_t>(0x8F | code << 4);
    EXPECT_EQ(tool_.Code(Batch(static_cast<std::uint8_t>(code), kSettingsRecord, {flags, 0, 0x41})), 0x61);
    EXPECT_EQ(tool_.Code(FullChecksum(code, line_.At(code).Checksum())), 0x61);
    EXPECT_EQ(line_.At(code).Baud(), speeds[static_cast<std::size_t>(code)]) << "rate code " << code;
  }
}

TEST_F(Download, KeepingTheSpeedAndAnImageWithoutSettingsLeaveTheControllerAsItWas) {
  line_.Add({.number = 3, .baud = 38400, .protocol = 0x45});
  EXPECT_EQ(tool_.Code(Erase(3, 0xBB, 0x45), {38400}), 0x61);
  EXPECT_EQ(tool_.Code(Batch(3, 0, {7, 7}), {38400}), 0x61);
  EXPECT_EQ(tool_.Code(FullChecksum(3, SumWith({{7, 7}})), {38400}), 0x61);
  EXPECT_EQ(tool_.Code(Check(3, 0x45), {38400}), 0x61);
}

TEST_F(Download, AMissedBatchIsRefusedByTheChecksumAndShownByTheCheck) {
  line_.Add({.number = 3, .faults = {{.first = 2, .last = 2, .command = Command::Batch}}});
  Program({{0, {9}}});  // not for it before its erase: it isn't counted
  EXPECT_EQ(tool_.Code(Erase(3)), 0x61);
  Program({{0, {1}}, {1, {2}}, {2, {3}}});
  const std::uint32_t sum = SumWith({{1}, {2}, {3}});
  EXPECT_EQ(tool_.Code(FullChecksum(3, sum)), 0xE1);
  EXPECT_EQ(line_.At(3).Checksum(), sum + 0xFD);
  EXPECT_EQ(tool_.Code(Check(3)), 0x61) << "it lives on and tells its own checksum";
}

TEST_F(Download, AMessageWhoseAnswerGotLostIsAnsweredAgainAtTheFormerSpeed) {
  line_.Add({.number = 3, .baud = 19200});
  EXPECT_EQ(tool_.Code(Erase(3), k19200), 0x61);
  EXPECT_EQ(tool_.Code(Erase(3), k19200), 0x61) << "repeated";
  EXPECT_EQ(tool_.Code(Check(3), k19200), 0) << "another message there is none of its business";
  EXPECT_EQ(tool_.Code(FullChecksum(3, kErasedSum)), 0x61);
  EXPECT_EQ(tool_.Code(FullChecksum(3, kErasedSum)), 0x61) << "repeated";
  EXPECT_EQ(tool_.Code(Check(3), k19200), 0x61);
  EXPECT_EQ(tool_.Code(FullChecksum(3, kErasedSum)), 0) << "it was heard at its new speed: that is over";
}

TEST_F(Download, AControllerOfProtocol3IsInItAgainAfterADownload) {
  line_.Add({.number = 5, .protocol3 = true});
  EXPECT_EQ(tool_.Ask(kTo4), (Bytes{0x68, 0x2F}));
  EXPECT_EQ(tool_.Code(Check(5)), 0x61);
  EXPECT_EQ(tool_.Code(kTo3), 0x61);
  EXPECT_EQ(tool_.Code(Check(5)), 0);
  tool_.Ask(kTo4);
  EXPECT_EQ(tool_.Code(Erase(5)), 0x61);
  EXPECT_EQ(tool_.Code(FullChecksum(5, kErasedSum)), 0x61);
  EXPECT_EQ(tool_.Code(Check(5)), 0);
}

TEST_F(Download, DataAtTheEndOfTheAddressSpaceStaysInside) {
  line_.Add({.number = 3});
  EXPECT_EQ(tool_.Code(Erase(3)), 0x61);
  EXPECT_EQ(tool_.Code(Batch(3, 0xFFFE, {1, 2, 3})), 0x61);
  EXPECT_EQ(line_.At(3).Checksum(), SumWith({{1, 2}}));
}

}  // namespace
}  // namespace bus
