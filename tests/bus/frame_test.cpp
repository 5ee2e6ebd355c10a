#include <gtest/gtest.h>

#include <string>

#include "tests/bus/talk.h"

namespace bus {
namespace {

const Bytes kCheck5 = {0x40, 0x05, 0x01, 0x73, 0xF8, 0xA9, 0x04};
const Bytes kText5 = {0x40, 0x23, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};
const Bytes kText1 = {0x40, 0x1F, 0x70, 0x34, 0x30, 0x30, 0x3A, 0x34, 0x2F};  // 0x1F could be an address too

TEST(Crc, HasThePublishedCheckValue) {
  const std::string digits = "123456789";
  EXPECT_EQ(Crc16(Bytes(digits.begin(), digits.end())), 0x31C3);
}

/// Puts bytes on a 9600 line at given times and gives back what was found.
class FramerTest : public testing::Test {
 protected:
  void Put(const Bytes& bytes, const LineFormat& format = k9600) {
    for (const std::uint8_t byte : bytes) {
      const Time ends = now_ + TimeOf(1, format);
      for (Heard& heard : framer_.Add(byte, now_, ends, format, false))
        (heard.intact ? frames_ : noise_).push_back(heard.bytes);
      now_ = ends;
    }
  }

  Framer framer_;
  Time now_{};
  std::vector<Bytes> frames_;
  std::vector<Bytes> noise_;
};

TEST_F(FramerTest, FramesBehindEachOtherAreToldApart) {
  for (const Bytes& frame : {kCheck5, kText5, kText1, Batch(0x5F, 0x0100, Bytes(128, 0x40)), kCheck5})
    Put(frame);
  EXPECT_EQ(frames_,
            (std::vector<Bytes>{kCheck5, kText5, kText1, Batch(0x5F, 0x0100, Bytes(128, 0x40)), kCheck5}));
  EXPECT_TRUE(noise_.empty());
}

TEST_F(FramerTest, AFrameBehindNoiseIsFound) {
  Put({0xFF, 0xFF, 0x40, 0x77});
  Put(kCheck5);
  EXPECT_EQ(frames_, std::vector<Bytes>{kCheck5});
  EXPECT_EQ(noise_, (std::vector<Bytes>{{0xFF, 0xFF, 0x40, 0x77}}));
}

TEST_F(FramerTest, NothingWithoutACommandIsAFrame) {
  Put(CloseFrame({0x40, 0x05, 0x00}));
  now_ += 1s;
  Put(kCheck5);
  EXPECT_EQ(frames_, std::vector<Bytes>{kCheck5});
}

TEST_F(FramerTest, AnUnfinishedFrameEndsWithAPauseOrAnotherSpeed) {
  const Bytes begun(kCheck5.begin(), kCheck5.begin() + 4);
  Put(begun);
  now_ += 30ms;
  Put(begun);
  Put(kCheck5, k19200);
  EXPECT_EQ(frames_, std::vector<Bytes>{kCheck5});
  EXPECT_EQ(noise_, (std::vector<Bytes>{begun, begun}));
}

TEST_F(FramerTest, NoSingleWrongBitGetsThrough) {
  for (std::size_t bit = 0; bit < kCheck5.size() * 8; ++bit) {
    Bytes damaged = kCheck5;
    damaged[bit / 8] ^= static_cast<std::uint8_t>(1 << bit % 8);
    Put(damaged);
    now_ += 1s;
    EXPECT_TRUE(frames_.empty()) << "bit " << bit;
    Put(kCheck5);
    now_ += 1s;
    EXPECT_EQ(frames_, std::vector<Bytes>{kCheck5}) << "the good frame behind wrong bit " << bit;
    frames_.clear();
  }
}

TEST(Line, AFrameInTwoPiecesIsOneFrameWhereverItIsCut) {
  for (std::size_t cut = 1; cut < kCheck5.size(); ++cut) {
    Bus line;
    line.Add({.number = 5});
    line.Send(std::span(kCheck5).first(cut), k9600, 0ms);
    line.Send(std::span(kCheck5).subspan(cut), k9600, 3ms);
    ASSERT_EQ(line.Traffic().size(), 1U) << "cut at " << cut;
    EXPECT_EQ(line.Traffic()[0].bytes, kCheck5);
    EXPECT_EQ(line.Receive(k9600, 1s).size(), 13U) << "cut at " << cut;
  }
}

}  // namespace
}  // namespace bus
