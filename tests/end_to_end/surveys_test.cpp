#include <gmock/gmock.h>

#include "end_to_end/expected.h"
#include "end_to_end/technician.h"

namespace quillon::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(SerialDownload, ProgramsTwoControllersAndMovesThemToProtocol4) {
  const Firmware firmware(0x100, 0x100 - 5);
  Technician technician(30s,
                        {"--quick", "--controller", "2", "--controller", "5", "--fault", "5:code=E1/batch@3"},
                        {.controllers = {2, 5}});
  technician.ChooseHex(firmware.HexLines());
  technician.Tick("Prot 3", true);

  technician.Press("Quillon", "Download (Serial)");

  Expected expected;
  for (const int y : {2, 5}) {
    expected.Add(9600, Erase(0x40, y));
    const std::vector<std::string> batches = firmware.BatchFrames(y);
    for (std::size_t i = 0; i < batches.size(); ++i) {
      expected.AddClosed(9600, batches[i], y == 5 && i == 2 ? 2 : 1);  // the refused one goes out again
    }
    expected.Add(9600, FullChecksum(firmware, y));
    expected.AddClosed(9600, y == 2 ? "4020703430303A342F" : "4023703430303A342F");
    expected.Add(9600, Check(0x40, y));
  }
  EXPECT_THAT(technician.Frames(), ElementsAreArray(expected.frames));
  EXPECT_THAT(technician.boxes, ElementsAre("send p4 OK!!!", "send p4 OK!!!"));
  for (const int y : {2, 5}) {
    EXPECT_EQ(technician.RowOf(y).checksum.toStdString(), firmware.ShownChecksum()) << y;
    EXPECT_EQ(technician.RowOf(y).versionText, kBlack) << y;
  }
  EXPECT_EQ(technician.Text("Quillon", "Protocol"), "63");
  EXPECT_EQ(technician.Text("Quillon", "Speed"), "9600");

  const std::vector<std::string> log = technician.EndAndReadLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), "******** PROGRAMMATION DU CTRL 2 **********"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "******** PROGRAMMATION DU CTRL 5 **********"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "Message : $75 - Programmation Batch 3"), 2);  // once for each
  EXPECT_EQ(std::count(log.begin(), log.end(), "Message : $75 Sending Full Checksum"), 2);
}

TEST(BootInfo, FallsBackToTheFixedProtocolByte) {
  Technician technician(
      15s,
      {"--controller", "1,bootprotocol=64,boot=010203,bootsum=ABCD", "--controller", "4,bootprotocol=64"},
      {.protocol = "2", .controllers = {1, 4}});
  technician.Press("Quillon", "Boot Info");
  Expected expected;
  expected.Add(9600, BootCheck(3, 1), 3).Add(9600, BootCheck(0x40, 1)).Add(9600, BootCheck(0x40, 4));
  EXPECT_THAT(technician.Frames(), ElementsAreArray(expected.frames));
  EXPECT_EQ(technician.RowOf(1).version, "01/02/03");
  EXPECT_EQ(technician.RowOf(1).checksum, "ABCD");
  EXPECT_EQ(technician.RowOf(4).checksum, "B007");
}

TEST(AutoDetection, TicksWhoAnswersAtEitherOfTwoSpeeds) {
  Technician technician(80s, {"--controller", "0-15", "--controller", "16-30,baud=19200"},
                        {.controllers = {0, 31}});
  technician.Press("Quillon", "Auto");
  for (int y = 0; y < 31; ++y) EXPECT_TRUE(technician.Ticked(y)) << y;
  EXPECT_FALSE(technician.Ticked(31));
  EXPECT_EQ(technician.Text("Quillon", "Time Out"), "150");
  EXPECT_EQ(technician.Text("Quillon", "Speed"), "9600");
}

}  // namespace
}  // namespace quillon::test
