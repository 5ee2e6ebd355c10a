#include <gtest/gtest.h>

#include "commands/command_program.h"
#include "commands/flash_prog.h"
#include "commands/flash_prog00.h"
#include "commands/frames.h"

namespace quillon::test {
namespace {

using Lines = std::vector<std::string>;

TEST(FullChecksumFrame, CarriesThreeBytesOfTheChecksum) {
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "DEBE4E")), "40030775AA550FDEBE4E0ABC04");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "A1B1C")), "40030775AA550FA1B10C863D04") << "a digit stands alone";
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "5")), "40030775AA550F000005B08404");
  EXPECT_EQ(ToHex(FullChecksumFrame(3, "FFFFDF21")), "40030775AA550FFFFFDF162F04") << "the first six digits";
}

TEST(BatchFrame, CarriesAddressAndUpTo249BytesToAll) {
  EXPECT_EQ(ToHex(BatchFrame(0x5F, FromHex("010011223355"))), "405F0A75AA5510010011223355651B04");
  EXPECT_EQ(BatchFrame(0x5F, Bytes(251))[2], 255);
  EXPECT_THROW(BatchFrame(0x5F, Bytes(252)), RunError);
}

TEST(FlashProg00, LogsTheBatchesAndTheChecksum) {
  CommandProgram program;
  program.ChooseHex({":0400000001020304F2"}, "one.hex");
  program.Answer({kRefuses, kAccepts});
  program.CancelWhen("Sending full");
  int y = 5;
  FlashProg00(program.tool, y);
  EXPECT_EQ(program.EndAndReadLog(),
            (Lines{"******** PROGRAMMATION DU CTRL 5 **********", "Message : $75 - Programmation Batch 1",
                   "40 05 0A 75 AA 55 10 00 00 01 02 03 04 05 C9 04 ",
                   "Recu en String : 40 05 01 E1 5B 52 04 ", "Communication OK  - CRC checked",
                   "Recu en String : 40 05 01 61 CA DA 04 ", "Communication OK  - CRC checked", "Answer : 61",
                   "Message : $75 Sending Full Checksum", "40 05 07 75 AA 55 0F DF 1A 10 0D 85 04 "}));
}

TEST(FlashProg, PausesAfterEachBatch) {
  const struct {
    const char* delay;
    Nanoseconds between;  // one batch and the next; each yield takes a millisecond of it
    std::size_t boxes;
  } kCases[] = {{"10", 11ms, 0}, {"0", 1ms, 0}, {"-5", 1ms, 0}, {"32767", 32768ms, 0}, {"32768", 1ms, 2}};
  for (const auto& c : kCases) {
    CommandProgram program;
    program.tool.Text2.SetText(c.delay);
    FlashProg(program.tool);
    const auto pause = program.computer.sent[1].at - program.computer.sent[0].at;
    EXPECT_EQ(std::chrono::floor<std::chrono::milliseconds>(pause), c.between) << c.delay;
    EXPECT_EQ(program.computer.boxes.size(), c.boxes);
    for (const ShownBox& box : program.computer.boxes)
      EXPECT_NE(box.text.find(" Parallel Waiting Delay "), std::string::npos) << box.text;
  }
}

TEST(FlashProg, NothingHappensInThePause) {
  CommandProgram program;
  program.tool.Text2.SetText("1000");
  Nanoseconds acted{};
  program.computer.At(500ms, [&] { acted = program.computer.Time(); });
  FlashProg(program.tool);
  EXPECT_GE(acted, 1000ms);
}

TEST(FlashProg, ABatchThatFitsNoFrameIsLeftOut) {
  CommandProgram program;
  program.ChooseHex({HexRecord(0, Bytes(255, 1)), HexRecord(0x1000, Bytes(1, 2)), ":00000001FF"}, "long.hex");
  FlashProg(program.tool);
  ASSERT_EQ(program.BoxNumbers(), std::vector<int>{6});
  EXPECT_EQ(
      program.computer.boxes[0].text,
      "Error #  6\rOverflow: a batch of 257 bytes does not fit into a frame. Create the HEX file again with "
      "lines of at most 128 data bytes.");
  EXPECT_EQ(program.Sent(), Lines{"9600 " + ToHex(bus::CloseFrame(FromHex("405F0775AA5510100002")))});
}

TEST(FlashProg, GoesOnWhereAStepFails) {
  CommandProgram program;
  program.Tick({3, 4});
  int failures = 3;
  program.computer.beforeOperation = [&] {
    if (program.computer.sent.size() == 1 && failures-- > 0) throw RunError(RunError::kDeviceFailed, "gone");
  };
  FlashProg(program.tool);
  EXPECT_EQ(program.BoxNumbers(), (std::vector<int>{8020, 8020, 8020}))
      << "the second batch, the flush, one sum";
  EXPECT_EQ(program.Sent().size(), 4u) << "the other sum goes out, three times";
}

TEST(FlashProg, AFileThatWentAwayConfirmsZeros) {
  CommandProgram program;
  program.Tick({3});
  std::remove(program.tool.FileName.Text().c_str());
  FlashProg(program.tool);
  EXPECT_EQ(program.BoxNumbers(), (std::vector<int>{53, 0}));
  EXPECT_EQ(program.Sent(), Lines(3, "9600 40030775AA550F000000E02104"));
}

TEST(FlashProg00, ARunFailureEndsThePassAfterOneBox) {
  CommandProgram program;
  program.tool.Text1.SetText("soon");
  int y = 5;
  FlashProg00(program.tool, y);
  EXPECT_EQ(program.BoxNumbers(), std::vector<int>{13});
  EXPECT_TRUE(program.tool.message.Visible()) << "the caller closes it";
}

}  // namespace
}  // namespace quillon::test
