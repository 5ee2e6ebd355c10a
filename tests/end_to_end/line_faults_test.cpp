// A line that goes wrong under a run: what the technician sees of it, and how soon.
#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <atomic>
#include <fstream>
#include <functional>
#include <future>

#include "end_to_end/image.h"
#include "end_to_end/technician.h"
#include "support/far_end.h"

namespace quillon::test {
namespace {

using testing::IsEmpty;

/// Memory that this process holds, in KB.
long ResidentMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long size = 0;
    if (word == "VmRSS:" && status >> size) return size;
  }
  return -1;
}

/// Milliseconds from Cancel to the end of a run: the pause of an answer, 0.5 s, the two seconds of the row's
/// failure, which Cancel does not cut, and some for a busy machine.
constexpr qint64 kCancelTakes = 3000;

/// A run that the technician cancels at `cancelAt`, and what could be felt of it. Times in milliseconds. The
/// trouble begins when the windows are open and painted: their memory is not its doing.
struct CancelledRun {
  CancelledRun(Technician& technician, const char* button, qint64 cancelAt,
               const std::function<void()>& trouble = {}) {
    constexpr qint64 kPainted = 300;
    QElapsedTimer time;
    qint64 lastLook = 0;
    qint64 opened = 0;
    long memoryBefore = 0;
    const auto look = [&] {
      standstill = std::max(standstill, time.elapsed() - lastLook);
      lastLook = time.elapsed();
      if (!Technician::Shows("Message")) opened = lastLook;
      if (memoryBefore == 0 && lastLook > opened + kPainted) {
        memoryBefore = ResidentMemory();
        if (trouble) trouble();
      }
      if (memoryBefore != 0) growth = std::max(growth, ResidentMemory() - memoryBefore);
      return lastLook >= cancelAt && Technician::Shows("Message");
    };
    technician.When(look, [&] {
      cancelled = time.elapsed();
      technician.Press("Message", "Cancel");
    });
    time.start();
    technician.Press("Quillon", button);
    untilEnd = time.elapsed() - cancelled;
    EXPECT_GT(cancelled, 0) << "it was over before Cancel";
    EXPECT_GT(memoryBefore, 0);
  }
  qint64 cancelled = 0;
  qint64 untilEnd = 0;    // since Cancel
  qint64 standstill = 0;  // the longest time without a look at the windows, until Cancel
  long growth = 0;        // KB of memory, until Cancel
};

TEST(LineFaults, ALineThatBabblesIsNoAnswerAndHoldsNeitherTheWindowNorCancelNorMemory) {
  Technician technician(30s, {"--count", "1"}, {.controllers = {5}});
  FarEnd line;
  technician.SelectDevice(line.Device());
  std::atomic<bool> over = false;
  std::future<void> babble;
  const CancelledRun run(technician, "Flash Info", 4000, [&] {
    babble = std::async(std::launch::async, [&] {
      for (const Bytes noise(4096, 0x5A); !over;) line.Babble(noise);
    });
  });
  over = true;
  EXPECT_LT(run.untilEnd, kCancelTakes);
  EXPECT_LT(run.standstill, 1500);  // two pauses, since a look takes two passes of the events
#ifndef __SANITIZE_ADDRESS__        // which keeps what was freed
  // 1 MB may wait, and its hex text is three times as long. A line without bounds takes 100 MB here.
  EXPECT_LT(run.growth, 8192);
#endif
  EXPECT_NE(technician.Read("Log.txt").find("CRC false 3 time"), std::string::npos);
  EXPECT_THAT(technician.boxes, IsEmpty());
}

// Each sending waits for the time of 512 bytes and one second more, and a look takes two passes of the
// events.
TEST(LineFaults, ALineThatTakesNoMoreBytesHoldsTheWindowForNoMoreThanASending) {
  constexpr qint64 kStalledOutput = 1000 + 512 * 11 * 1000 / 9600;
  Technician technician(40s, {"--controller", "5"}, {.delay = "10", .controllers = {5}});
  const Firmware firmware(0x6000);  // some KB more than a pseudo-terminal holds
  technician.ChooseHex(firmware.HexLines());
  technician.When([&] { return technician.Frames().size() >= 2; }, [&] { technician.HangTheLine(); });
  const CancelledRun run(technician, "Download (Parallel)", 8500);  // when the check has set the speed
  technician.PullTheLine();
  EXPECT_LT(run.standstill, 2 * kStalledOutput + 500);
  EXPECT_LT(run.untilEnd, kCancelTakes + 2000);
  EXPECT_NE(technician.RowOf(5).checksum.toStdString(), firmware.ShownChecksum());
}

TEST(LineFaults, APulledLineEndsTheRunWithItsNumberAndTheNextRunTakesTheNewOne) {
  const std::vector<std::string> bus{"--quick", "--controller", "5-6"};
  const Firmware firmware(0x100, 0x100 - 5);
  const struct {
    const char* button;
    std::size_t frames;  // on the line when it is pulled
  } kRuns[] = {{"Flash Info", 1}, {"Download (Parallel)", 4}};
  for (const auto& run : kRuns) {
    SCOPED_TRACE(testing::Message() << run.button << " at " << run.frames);
    Technician technician(40s, bus, {.controllers = {5, 6}});
    technician.ChooseHex(firmware.HexLines());
    technician.When([&] { return technician.Frames().size() >= run.frames; },
                    [&] { technician.PullTheLine(); });
    technician.Press("Quillon", run.button);
    EXPECT_FALSE(technician.boxes.empty());
    for (const QString& box : technician.boxes)
      EXPECT_TRUE(box.startsWith("Error #  8020")) << qUtf8Printable(box);
    EXPECT_NE(technician.RowOf(6).checksum.toStdString(), firmware.ShownChecksum());

    technician.boxes.clear();
    technician.PlugTheLineIn(bus);
    technician.Press("Quillon", "Download (Parallel)");
    EXPECT_THAT(technician.boxes, IsEmpty());
    for (const int y : {5, 6}) {
      EXPECT_EQ(technician.RowOf(y).checksum.toStdString(), firmware.ShownChecksum()) << y;
      EXPECT_EQ(technician.RowOf(y).checksumText, QColor(Qt::black)) << y;
    }
  }
}

}  // namespace
}  // namespace quillon::test
