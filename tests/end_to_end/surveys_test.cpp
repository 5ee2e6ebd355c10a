#include <gmock/gmock.h>

#include "end_to_end/image.h"
#include "end_to_end/technician.h"

namespace quillon::test {
namespace {

using testing::ElementsAre;

TEST(SerialDownload, ProgramsTwoControllersAndMovesThemToProtocol4) {
  const Firmware firmware(0x100, 0x100 - 5);
  Technician technician(30s,
                        {"--quick", "--controller", "2", "--controller", "5", "--fault", "5:code=E1/batch@3"},
                        {.controllers = {2, 5}});
  technician.ChooseHex(firmware.HexLines());
  technician.Tick("Prot 3", true);

  technician.Press("Quillon", "Download (Serial)");

  // Of each: erase, five batches, checksum, move and check; one batch of 5 was refused and went out again.
  EXPECT_EQ(technician.Frames().size(), 19u);
  EXPECT_THAT(technician.boxes, ElementsAre("send p4 OK!!!", "send p4 OK!!!"));
  for (const int y : {2, 5}) {
    EXPECT_EQ(technician.RowOf(y).checksum.toStdString(), firmware.ShownChecksum()) << y;
    EXPECT_EQ(technician.RowOf(y).versionText, QColor(Qt::black)) << y;
  }
  EXPECT_EQ(technician.Text("Quillon", "Protocol"), "63");
  EXPECT_EQ(technician.Text("Quillon", "Speed"), "9600");

  const std::vector<std::string> log = technician.EndAndReadLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), "******** PROGRAMMATION DU CTRL 2 **********"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "******** PROGRAMMATION DU CTRL 5 **********"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "Message : $75 - Programmation Batch 3"), 2);  // once for each
  EXPECT_EQ(std::count(log.begin(), log.end(), "Message : $75 Sending Full Checksum"), 2);
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
