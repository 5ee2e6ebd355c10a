#include <gtest/gtest.h>

#include "commands/command_bench.h"
#include "commands/programming.h"

namespace quillon::test {
namespace {

struct FrameCase {
  const char* name;
  const char* protocol;  // the text of the box
  std::function<void(Quillon&)> command;
  const char* frame;
};
void PrintTo(const FrameCase& c, std::ostream* out) { *out << c.name; }

class CommandFrame : public testing::TestWithParam<FrameCase> {};

TEST_P(CommandFrame, GoesOutToTheByte) {
  CommandBench bench;
  bench.tool.Protocol.SetText(GetParam().protocol);
  bench.Cancel();
  GetParam().command(bench.tool);
  ASSERT_EQ(bench.world.sent.size(), 1u);
  EXPECT_EQ(ToHex(bench.world.sent[0].bytes), GetParam().frame);
}

template <class Result>
std::function<void(Quillon&)> To(int number, Result (Quillon::*command)(int&)) {
  return [number, command](Quillon& tool) {
    int y = number;
    (tool.*command)(y);
  };
}
std::function<void(Quillon&)> EraseKeepingTheSpeed(int number) {
  return [number](Quillon& tool) {
    tool.useBB.SetValue(CheckBox::kTicked);
    To(number, &Quillon::FlashErase)(tool);
  };
}

// clang-format off
const FrameCase kFrameCases[] = {
    {"CheckOf0", "63", To(0, &Quillon::FlashCheck), "40000173135904"},
    {"CheckOf5", "63", To(5, &Quillon::FlashCheck), "40050173F8A904"},
    {"CheckInProtocol4", "4", To(5, &Quillon::FlashCheck), "050501732A7004"},
    {"CheckWithAnUnusableProtocol", "255", To(5, &Quillon::FlashCheck), "00050173963504"},
    {"EraseOf2", "63", To(2, &Quillon::FlashErase), "4002047455AAF0FFBA04"},
    {"EraseOf2KeepingTheSpeed", "63", EraseKeepingTheSpeed(2), "4002047455BBF0CFF804"},
    {"EraseInProtocol4", "4", To(5, &Quillon::FlashErase), "0505047455AAF093B004"},
    {"ToProtocol4Of0", "63", To(0, &Quillon::SendP4), "401E703430303A342F"},
    {"ToProtocol4Of5", "63", To(5, &Quillon::SendP4), "4023703430303A342F"},
    {"ToProtocol4Of31", "4", To(31, &Quillon::SendP4), "403D703430303A342F"},
    {"ToProtocol3Of5", "63", To(5, &Quillon::Send55), "40050155BC0D04"},
    {"ToProtocol3Of31", "4", To(31, &Quillon::Send55), "401F015538AF04"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Commands, CommandFrame, testing::ValuesIn(kFrameCases),
                         testing::PrintToStringParamName());

TEST(FullChecksumFrame, CarriesThreeBytesOfTheChecksum) {
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "DEBE4E")), "40030775AA550FDEBE4E0ABC04");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "A1B1C")), "40030775AA550FA1B10C863D04")
      << "the fifth digit stands alone";
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "5")), "40030775AA550F000005B08404");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "")), "40030775AA550F000000E02104");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "FFFFDF21")), "40030775AA550FFFFFDF162F04") << "the first six digits";
}

TEST(BatchFrame, CarriesAddressAndUpTo249BytesToAll) {
  EXPECT_EQ(ToHex(BatchFrame(0x5F, FromHex("010011223355"))), "405F0A75AA5510010011223355651B04");
  EXPECT_EQ(BatchFrame(0x5F, Bytes(251)).size(), 261u);
  EXPECT_EQ(BatchFrame(0x5F, Bytes(251))[2], 255);
  EXPECT_THROW(BatchFrame(0x5F, Bytes(252)), RunError);
}

}  // namespace
}  // namespace quillon::test
