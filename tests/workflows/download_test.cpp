#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "workflows/run_bench.h"

namespace quillon::test {
namespace {

using bus::Command;
using bus::Fault;
using Texts = std::vector<std::string>;

TEST(ParallelDownload, GoesFromEraseOverProgrammingToTheCheck) {
  RunBench bench({{.number = 3}, {.number = 5}});
  bench.ChooseHex(kImage);
  bench.Tick({3, 5});
  bench.WatchStatus();
  bench.tool.ComLoad.Press();
  EXPECT_EQ(bench.Sent(), (Texts{"9600 4003047455AAF0BA1A04", "9600 4005047455AAF037FB04",
                                 "38400 405F0A75AA5510000001020304F29B04",
                                 "38400 405F1A75AA55102010000000000031320030350033310000002000410579DF04",
                                 "38400 40030775AA550FDF07B6F70E04", "38400 40050775AA550FDF07B6AD8604",
                                 "19200 410301733CBD04", "19200 410501738E1D04"}));
  EXPECT_EQ(bench.world.openedPorts, std::vector<int>{1});
  EXPECT_TRUE(bench.tool.info.Visible());
  EXPECT_EQ(bench.tool.info.FileCheksum.Text(), "07B6");
  EXPECT_EQ(bench.statuses,
            (Texts{"Controller 3 : Erasing  (Speed : 9600 Bds) ...",
                   "Controller 5 : Erasing  (Speed : 9600 Bds) ...", " Programming Batch 1    ...",
                   " Programming Batch 2    ...", "Controller 3 : Sending Full CheckSum  ...",
                   "Controller 5 : Sending Full CheckSum  ...",
                   "Controller 3 : Checking Flash  (Speed : 19200 Bds) ...",
                   "Controller 5 : Checking Flash  (Speed : 19200 Bds) ..."}));
}

TEST(SerialDownload, FinishesOneControllerBeforeTheNext) {
  RunBench bench({{.number = 3}, {.number = 5, .protocol = 0x41}});
  bench.ChooseHex(kImage);
  bench.Tick({3, 5});
  bench.WatchStatus();
  bench.tool.ComLoad00.Press();
  EXPECT_EQ(bench.Sent(),
            (Texts{"9600 4003047455AAF0BA1A04", "38400 40030A75AA55100000010203040EF704",
                   "38400 40031A75AA551020100000000000313200303500333100000020004105022504",
                   "38400 40030775AA550FDF07B6F70E04", "19200 410301733CBD04",
                   // The next controller starts with the image's protocol and speed.
                   "19200 4105047455AAF08F9A04", "19200 4105047455AAF08F9A04", "19200 4105047455AAF08F9A04",
                   "4800 4105047455AAF08F9A04", "4800 4105047455AAF08F9A04", "4800 4105047455AAF08F9A04",
                   "9600 4105047455AAF08F9A04", "38400 40050A75AA551000000102030405C904",
                   "38400 40051A75AA551020100000000000313200303500333100000020004105D95D04",
                   "38400 40050775AA550FDF07B6AD8604", "19200 410501738E1D04"}));
  const Texts firstStatuses(bench.statuses.begin(), bench.statuses.begin() + 5);
  EXPECT_EQ(
      firstStatuses,
      (Texts{"Controller 3 : Erasing  (Speed : 9600 Bds) ...", "Controller 3 : Programming Batch 1    ...",
             "Controller 3 : Programming Batch 2    ...", "Controller 3 : Sending full CheckSum  ...",
             "Controller 3 : Checking Flash  (Speed : 19200 Bds) ..."}));
  const Texts log = bench.EndAndReadLog();
  EXPECT_THAT(log, testing::Contains("******** PROGRAMMATION DU CTRL 3 **********").Times(1));
  EXPECT_THAT(log, testing::Contains("******** PROGRAMMATION DU CTRL 5 **********").Times(1));
}

const char* const kNoRate = ":042020007F004105F7";
const char* const kRate57600 = ":042020004000410536";
const char* const kRate19200 = ":042020002000410556";

struct DownloadCase {
  const char* name;
  Button button;
  std::vector<bus::ControllerSetup> controllers;  // of numbers 3 and 5
  const char* talk;
  Texts rows;  // of 3 and 5
  const char* speed;
  const char* protocol;
  std::vector<int> boxes = {};
  const char* rateRecord = kRate19200;
  bool protocol3 = false;
  bool keepSpeed = false;
};
void PrintTo(const DownloadCase& c, std::ostream* out) { *out << c.name; }

constexpr Button kParallel = &Quillon::ComLoad;
constexpr Button kSerial = &Quillon::ComLoad00;
const std::string kGood = "12/05/31 07B6";
const std::string kWrong = "Programmation ERROR red marked";
const std::string kSilent = "No Answer red";
const std::string kNotErased = "Erasing Failure red";
const std::string kBlank = " ";

class Download : public testing::TestWithParam<DownloadCase> {};

TEST_P(Download, TakesItsCourse) {
  const DownloadCase& c = GetParam();
  RunBench bench(c.controllers);
  Texts image = kImage;
  image[3] = c.rateRecord;
  bench.ChooseHex(image);
  bench.Tick({3, 5});
  bench.tool.RUD3.SetValue(c.protocol3);
  bench.tool.useBB.SetValue(c.keepSpeed);
  bench.WatchStatus();
  (bench.tool.*c.button).Press();
  EXPECT_EQ(bench.Talk(), c.talk);
  EXPECT_THAT(bench.statuses, testing::Contains("Controller 5 : Programming failure   (Speed : 19200 Bds) ")
                                  .Times(c.rows[1] == kWrong ? 1 : 0));
  EXPECT_EQ((Texts{bench.Row(3), bench.Row(5)}), c.rows);
  EXPECT_EQ(bench.tool.Vitesse.Text(), c.speed);
  EXPECT_EQ(bench.tool.Protocol.Text(), c.protocol);
  EXPECT_EQ(bench.BoxNumbers(), c.boxes);
  EXPECT_FALSE(bench.tool.message.Visible());
  const bool endedByAFailure = c.button == &Quillon::ComLoad && !c.boxes.empty() && c.boxes.back() != 0;
  EXPECT_EQ(bench.world.open, endedByAFailure);
}

bus::ControllerSetup With(int number, Fault fault) { return {.number = number, .faults = {fault}}; }
const Fault kDead{.kind = Fault::Kind::Dead};
const Fault kNoCheck{.kind = Fault::Kind::Silent, .command = Command::Check};
const Fault kNoErase{.kind = Fault::Kind::Code, .value = 0xE1, .command = Command::Erase};
const Fault kLosesBatch1{.kind = Fault::Kind::Silent, .first = 1, .last = 1, .command = Command::Batch};
const Fault kRefusesBatch{.kind = Fault::Kind::Code, .value = 0xE1, .command = Command::Batch};

// clang-format off
const DownloadCase kDownloadCases[] = {
    {"Parallel", kParallel, {{.number = 3}, {.number = 5}},
     "9600 E3 E5 38400 B B S3 S5 19200 C3 C5", {kGood, kGood}, "19200", "64"},
    {"SearchesEachSpeed", kParallel, {{.number = 3, .baud = 19200}, {.number = 5, .baud = 4800}},
     "9600 E3x3 4800 E3x3 19200 E3 E5x3 4800 E5 38400 B B S3 S5 19200 C3 C5", {kGood, kGood}, "19200", "64"},
    {"KeepsTheSpeed", kParallel, {{.number = 3}, {.number = 5}},
     "9600 E3 E5 B B S3 S5 19200 C3 C5", {kGood, kGood}, "19200", "64", {}, kRate19200, false, true},
    {"NoRateInTheImage", kParallel, {{.number = 3}, {.number = 5}},
     "9600 E3 E5 38400 B B S3 S5 9600 C3 C5", {"12/05/31 0815", "12/05/31 0815"}, "9600", "64", {}, kNoRate},
    {"RateThatTheListLacks", kParallel, {{.number = 3}, {.number = 5}},
     "9600 E3 E5 38400 B B S3 S5", {kBlank, kBlank}, "9600", "64", {383}, kRate57600},
    {"FromProtocol3", kParallel, {{.number = 3, .protocol3 = true}, {.number = 5, .protocol3 = true}},
     "9600 E3 E5 38400 B B S3 S5 19200 P3 C3 P5 C5", {kGood, kGood}, "19200", "64", {0, 0}, kRate19200, true},
    {"OneDead", kParallel, {{.number = 3}, With(5, kDead)},
     "9600 E3 E5x3 4800 E5x3 19200 E5x3 38400 E5x3", {kBlank, kSilent}, "38400", "63"},
    {"OneRefusesTheErase", kParallel, {{.number = 3}, With(5, kNoErase)},
     "9600 E3 E5x3 4800 E5x3 19200 E5x3 38400 E5x3", {kBlank, kNotErased}, "38400", "63"},
    {"OneLosesABatch", kParallel, {{.number = 3}, With(5, kLosesBatch1)},
     "9600 E3 E5 38400 B B S3 S5x3 19200 C3 C5", {kGood, kWrong}, "19200", "64"},
    {"FirstSilentAtTheCheck", kParallel, {With(3, kNoCheck), {.number = 5}},
     "9600 E3 E5 38400 B B S3 S5 19200 C3x3 4800 C3x3 9600 C3x3 38400 C3x3 C5x3 4800 C5x3 9600 C5x3 19200 C5",
     {kSilent, kGood}, "19200", "64"},
    {"Serial", kSerial, {{.number = 3}, {.number = 5, .baud = 19200, .protocol = 0x41}},
     "9600 E3 38400 B3 B3 S3 19200 C3 E5 38400 B5 B5 S5 19200 C5", {kGood, kGood}, "19200", "64"},
    {"SerialKeepsTheSpeed", kSerial, {{.number = 3}, {.number = 5, .baud = 19200, .protocol = 0x41}},
     "9600 E3 B3 B3 S3 19200 C3 E5 B5 B5 S5 C5", {kGood, kGood}, "19200", "64", {}, kRate19200, false, true},
    {"SerialOtherProtocolBehindTheFirst", kSerial, {{.number = 3}, {.number = 5, .baud = 19200}},
     "9600 E3 38400 B3 B3 S3 19200 C3 E5x3 4800 E5x3 9600 E5x3 38400 E5x3", {kGood, kSilent}, "38400", "64"},
    {"SerialFromProtocol3", kSerial,
     {{.number = 3, .protocol3 = true}, {.number = 5, .baud = 19200, .protocol = 0x41, .protocol3 = true}},
     "9600 E3 38400 B3 B3 S3 19200 P3 C3 E5 38400 B5 B5 S5 19200 P5 C5", {kGood, kGood}, "19200", "64", {0, 0},
     kRate19200, true},
    {"SerialFirstDead", kSerial, {With(3, kDead), {.number = 5}},
     "9600 E3x3 4800 E3x3 19200 E3x3 38400 E3x3", {kSilent, kBlank}, "38400", "63"},
    {"SerialFirstSilentAtTheCheck", kSerial, {With(3, kNoCheck), {.number = 5, .baud = 38400, .protocol = 0x41}},
     "9600 E3 38400 B3 B3 S3 19200 C3x3 4800 C3x3 9600 C3x3 38400 C3x3 E5 B5 B5 S5 19200 C5", {kSilent, kGood},
     "19200", "64"},
    {"SerialRefusesABatch", kSerial, {With(3, kRefusesBatch), {.number = 5}},
     "9600 E3 38400 B3x3 19200 C3x3 4800 C3x3 9600 C3x3 38400 C3x3 E5x3 4800 E5x3 9600 E5x3 19200 E5x3",
     {kSilent, kSilent}, "19200", "64"},
    {"SerialRateThatTheListLacks", kSerial, {{.number = 3}, {.number = 5}},
     "9600 E3 38400 B3 B3 S3 9600 C3x3 4800 C3x3 19200 C3x3 38400 C3x3 E5x3 4800 E5x3 9600 E5x3 19200 E5x3",
     {kSilent, kSilent}, "19200", "64", {383}, kRate57600},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Runs, Download, testing::ValuesIn(kDownloadCases),
                         testing::PrintToStringParamName());

TEST(Download, GoesToEachTickedControllerAndNoOther) {
  for (const std::size_t count : {0, 1, 2, 31, 32}) {
    for (const Button button : {kParallel, kSerial}) {
      SCOPED_TRACE(NameOf(button) + std::to_string(count));
      RunBench bench;
      for (int i = 0; i < kControllers; ++i) bench.bus.Add({.number = i});
      // No rate of its own and protocol byte $40: the image leaves the line as it is.
      bench.ChooseHex({":0400000001020304F2", ":042020007F004005F8", ":00000001FF"});
      bench.TickFirst(static_cast<int>(count));
      (bench.tool.*button).Press();
      for (std::size_t i = 0; i < kControllers; ++i) {
        EXPECT_EQ(bench.Row(static_cast<int>(i)), i < count ? "FF/FF/FF 16D8" : " ") << i;
      }
      const std::size_t batches = button == kParallel ? 2 : 2 * count;
      EXPECT_EQ(bench.world.sent.size(), batches + 3 * count);
      EXPECT_EQ(bench.world.openedPorts.size(), 1u);
      EXPECT_FALSE(bench.world.open || bench.tool.message.Visible());
    }
  }
}

TEST(ParallelDownload, DropsWhatComesBetweenTwoErases) {
  Bench bench;
  bench.ChooseHex(kImage);
  bench.Tick({3, 5});
  const Reply accepts{10ms, Closed(FromHex("40050161"))};
  bench.world.script = {{accepts, {510500us, {0xFF}}}, {accepts}};
  bench.tool.ComLoad.Press();
  EXPECT_THAT(bench.Sent()[2], testing::StartsWith("9600 405F")) << "each erase took one sending";
}

}  // namespace
}  // namespace quillon::test
