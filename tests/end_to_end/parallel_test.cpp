#include <gmock/gmock.h>

#include <QElapsedTimer>

#include "end_to_end/image.h"
#include "end_to_end/technician.h"

namespace quillon::test {
namespace {

using testing::IsEmpty;

TEST(ParallelDownload, ProgramsThreeControllersOneOfThemFoundAtAnotherSpeed) {
  const Firmware firmware;
  Technician technician(45s,
                        {"--download-baud", "38400", "--controller", "2,protocol=5", "--controller",
                         "9,protocol=5", "--controller", "11,baud=19200,protocol=5"},
                        {.protocol = "4", .controllers = {2, 9, 11}, .bootSpeed = "38400"});
  technician.ChooseHex(firmware.HexLines());
  EXPECT_EQ(technician.Text("Quillon", "File Cheksum").toStdString(), firmware.ShownChecksum());

  technician.Press("Quillon", "Download (Parallel)");

  // Nine erases, seven of them for the one at another speed; 49 batches; three checksums and three checks.
  EXPECT_EQ(technician.Frames().size(), 64u);
  for (const int y : {2, 9, 11}) {
    const Technician::Row row = technician.RowOf(y);
    EXPECT_EQ(row.version, "12/05/31") << y;
    EXPECT_EQ(row.checksum.toStdString(), firmware.ShownChecksum()) << y;
    EXPECT_EQ(row.versionText, QColor(Qt::black)) << y;
    EXPECT_EQ(row.checksumBack, QColor(Qt::white)) << y;
  }
  EXPECT_EQ(technician.RowOf(3).version, "");
  EXPECT_EQ(technician.Text("Quillon", "Protocol"), "63");
  EXPECT_EQ(technician.Text("Quillon", "Speed"), "9600");
  EXPECT_EQ(technician.Status(), "");
  EXPECT_THAT(technician.boxes, IsEmpty());
}

TEST(ParallelDownload, IsLeftWithinASecondWhenTheMainWindowIsClosed) {
  Technician technician(10s, {"--count", "1"}, {.timeout = "5000", .controllers = {0, 9}});
  technician.ChooseHex(Firmware().HexLines());
  QElapsedTimer sinceExit;
  technician.When([&] { return technician.Frames().size() == 2; },  // the second one waits for its answer
                  [&] {
                    sinceExit.start();
                    technician.Press("Quillon", "Exit");
                  });
  technician.Press("Quillon", "Download (Parallel)");
  EXPECT_LT(sinceExit.elapsed(), 1000);
  EXPECT_EQ(technician.Frames().size(), 2u);
  EXPECT_NE(technician.Read("Log.txt").find("Answer : 61"), std::string::npos);
  EXPECT_EQ(technician.Read("Quillon.cfg").substr(0, 6), "5000\r\n");
}

}  // namespace
}  // namespace quillon::test
