#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "log/log_parser.h"
#include "log/log_report.h"
#include "log/runs.h"

namespace quillon {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

std::string AsLog(const std::vector<std::string>& lines) {
  std::string log;
  for (const std::string& line : lines) log += line + "\r\n";
  return log;
}

std::string Report(std::string_view log) {
  std::ostringstream report;
  WriteLogReport(log, Detail::kEverything, report);
  return report.str();
}

// Frames, CRCs and log lines stand here byte by byte, as a technician finds them.
const std::string kErase2 = "40 02 04 74 55 AA F0 FF BA 04 ";
const std::string kAccepted2 = "Recu en String : 40 02 01 61 4F 4A 04 ";
const std::string kRefused2 = "Recu en String : 40 02 01 E1 DE C2 04 ";
const std::string kCheck2 = "40 02 01 73 7D 39 04 ";
const std::string kHeld2 = "Recu en String : 40 02 07 61 00 12 05 31 6E 8C 0E 36 04 ";
const std::string kFalseCrc2 = "Recu en String : 40 02 07 61 00 12 05 31 6E 8C 0E 37 04 ";
const std::string kChecksum2 = "40 02 07 75 AA 55 0F D8 6E 8C BF 16 04 ";
const std::string kCheck1 = "40 01 01 73 24 69 04 ";
const std::string kErase1 = "40 01 04 74 55 AA F0 31 5A 04 ";
const std::string kAccepted1 = "Recu en String : 40 01 01 61 16 1A 04 ";
const std::string kBatchToAll = "40 5F 06 75 AA 55 10 00 00 0C 10 04 ";
const std::string kBatchTo1 = "40 01 06 75 AA 55 10 00 00 59 65 04 ";
const std::string kBatchTo2 = "40 02 06 75 AA 55 10 00 00 91 10 04 ";
const std::string kMove2 = "40 20 70 34 30 30 3A 34 2F ";
const std::string kMoved = "Recu en String : 68 2F ";
const std::string kDetection = "Message : AutoDetection $73";
const std::string kOk = "Communication OK  - CRC checked";
const std::string kNoAnswer = "No Answer";
const std::string kFalse3Times = "Communication Error - CRC false 3 time";

struct ExchangeCase {
  const char* name;
  std::vector<std::string> log;
  const char* description;  // in the report
  int asked, answered, repeated, refused;
  const char* standsAt;
  int doubts;

  friend void PrintTo(const ExchangeCase& row, std::ostream* out) { *out << row.name; }
};

class AnExchange : public ::testing::TestWithParam<ExchangeCase> {};

TEST_P(AnExchange, IsReported) {
  const ExchangeCase& row = GetParam();
  const std::string report = Report(AsLog(row.log));
  EXPECT_THAT(report, HasSubstr(row.description));
  char summary[240];
  std::snprintf(summary, sizeof summary, "2 %6d %9d %9d %8d  %s\n", row.asked, row.answered, row.repeated,
                row.refused, row.standsAt);
  EXPECT_THAT(report, HasSubstr(summary));
  const std::string doubts = row.doubts == 0 ? "none" : std::to_string(row.doubts);
  EXPECT_THAT(report, HasSubstr("Doubtful places: " + doubts + "\n"));
}

// clang-format off
const ExchangeCase kExchanges[] = {
    {"Accepted", {"Message : $74", kErase2, kAccepted2, kOk, "Answer : 61"},
     "FF BA 04: asks controller 2 to erase its flash and to change to the download speed",
     1, 1, 0, 0, "erase: accepted", 0},
    {"Holds", {kCheck2, kHeld2, kOk},
     "7D 39 04: asks controller 2 for version and checksum\n", 1, 1, 0, 0, "version 12/05/31, checksum 6E8C", 0},
    {"Silent", {kCheck2, kNoAnswer}, "no answer, sent 3 times", 1, 0, 2, 0, "check: no answer", 0},
    {"FalseCrcOnce", {kCheck2, kFalseCrc2, kHeld2, kOk},
     "!      2    40 02 07 61 00 12 05 31 6E 8C 0E 37 04: "
     "false CRC: 0E37 instead of 0E36", 1, 1, 1, 0, "version 12/05/31, checksum 6E8C", 1},
    {"FalseCrcAlways", {kCheck2, kFalseCrc2, kFalseCrc2, kFalseCrc2, kFalse3Times},
     "no good answer, sent 3 times", 1, 0, 2, 0, "check: damaged answers", 3},
    {"EchoWithAnswer", {kErase2, "Recu en String : " + kErase2 + kAccepted2.substr(17), kNoAnswer},
     "04: echo of the frame, and in the same read: accepted", 1, 0, 2, 0, "erase: no answer", 1},
    {"AnswerToAnotherQuestion", {kCheck2, kAccepted2, kOk},
     "wrong length: 7 bytes, unlike any answer to this request", 1, 1, 0, 0, "check: answers of a wrong length", 1},
    {"RefusedThreeTimes", {kErase2, kRefused2, kOk, kRefused2, kOk, kRefused2, kOk, "Answer : Failure 3*E1"},
     "04: refused, code E1", 1, 3, 2, 3, "erase: refused", 1},
    {"CancelledAfterAFalseCrc", {kCheck1, kFalseCrc2, kErase2, kAccepted2, kOk},
     "04: accepted", 1, 1, 0, 0, "erase: accepted", 1},
    {"Cancelled", {"Message : $74", kErase2},
     "", 1, 0, 0, 0, "erase: not finished: cancelled, the line failed, or the log is cut", 0},
    {"ShortAnswer", {kMove2, kMoved, kOk},
     "moves controller 2 to protocol 4", 1, 1, 0, 0, "move: accepted", 0},
    {"HoldsWhatWasSent", {kChecksum2, kAccepted2, kOk, kCheck2, kHeld2, kOk},
     "sent as D86E8C", 2, 2, 0, 0, "version 12/05/31, checksum 6E8C, as sent; confirmed", 0},
    {"HoldsWhatItAcknowledged",
     {kErase2, kAccepted2, kOk, kBatchTo2, kAccepted2, kOk, kChecksum2, kAccepted2, kOk, kCheck2, kHeld2, kOk},
     "", 4, 4, 0, 0, "version 12/05/31, checksum 6E8C, as sent; proven", 0},
    {"HoldsWhatItRefused", {kChecksum2, kRefused2, kOk, kRefused2, kOk, kRefused2, kOk, kCheck2, kHeld2, kOk},
     "", 2, 4, 2, 3, "version 12/05/31, checksum 6E8C, as sent; contradictory: it refused the full checksum, "
     "although the checksum that it reports is that of the file", 2},
    {"HoldsWhatItDidNotConfirm", {kChecksum2, kNoAnswer, kCheck2, kHeld2, kOk}, "", 2, 1, 2, 0,
     "version 12/05/31, checksum 6E8C, as sent; unconfirmed: it neither confirmed nor refused the full checksum; "
     "the checksum that it reports is that of the file", 1},
    {"FromAnotherController", {kErase2, kAccepted1, kOk, kBatchToAll, kChecksum2, kAccepted2, kOk},
     "04: accepted; from controller 1", 2, 2, 0, 0, "checksum: accepted", 1},
    {"HoldsSomethingElse", {"40 02 07 75 AA 55 0F 06 E8 0D F1 14 04 ", kAccepted2, kOk, kCheck2, kHeld2, kOk},
     "", 2, 2, 0, 0, "version 12/05/31, checksum 6E8C, NOT the checksum that was sent", 1},
    {"NoLineOfTheTool", {"\x1b[2Jrubbish", kCheck2, kHeld2, kOk},
     "line 1: not a line of the tool: \"?[2Jrubbish\"", 1, 1, 0, 0, "version 12/05/31, checksum 6E8C", 1},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Exchanges, AnExchange, ::testing::ValuesIn(kExchanges),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TheLog, FallsIntoRunsByTheOrderOfItsMessages) {
  struct Expected {
    LoggedRunKind kind;
    std::size_t messages;
    std::vector<std::string> lines;
  };
  const Expected expected[] = {
      // Controller 1 is asked at two speeds.
      {LoggedRunKind::kFlashInfo, 3, {kCheck1, kNoAnswer, kCheck1, kNoAnswer, kCheck2, kHeld2, kOk}},
      // The same well-answered question once more.
      {LoggedRunKind::kFlashInfo, 1, {kCheck2, kHeld2, kOk}},
      // Controller 2 is moved to protocol 4 before its closing check.
      {LoggedRunKind::kParallelDownload,
       5,
       {kErase1, kAccepted1, kOk, kErase2, kAccepted2, kOk, kBatchToAll, kMove2, kMoved, kOk, kCheck2}},
      // Cancelled in the erasing of the next controller.
      {LoggedRunKind::kSerialDownload,
       4,
       {kErase1, kAccepted1, kOk, kBatchTo1, kAccepted1, kOk, kCheck1, kNoAnswer, kErase2}},
      {LoggedRunKind::kDetection, 3, {kDetection, kNoAnswer, kDetection, kNoAnswer, kDetection}},
      {LoggedRunKind::kDetection, 1, {kDetection, kNoAnswer}},
      {LoggedRunKind::kDownload, 1, {kErase1, kNoAnswer}},
      {LoggedRunKind::kToProtocol4, 2, {kMove2, kNoAnswer, kMove2, kMoved, kOk}},
      {LoggedRunKind::kFlashInfo, 1, {kCheck2}},
  };
  std::vector<std::string> log;
  for (const Expected& run : expected) log.insert(log.end(), run.lines.begin(), run.lines.end());
  const std::string text = AsLog(log);
  ParsedLog parsed = ParseLog(text);
  const auto runs = FindRuns(parsed);
  ASSERT_EQ(runs.size(), std::size(expected));
  for (std::size_t n = 0; n < runs.size(); ++n) {
    EXPECT_EQ(runs[n].kind, expected[n].kind) << "run " << n;
    EXPECT_EQ(runs[n].end - runs[n].first, expected[n].messages) << "run " << n;
  }
}

TEST(TheLog, OfAnAutoDetectionNamesTheControllersByTheirOrder) {
  std::vector<std::string> log;
  for (int speed = 0; speed < 4; ++speed) log.insert(log.end(), {kDetection, kNoAnswer});  // 0 is not there
  log.insert(log.end(), {kDetection, kNoAnswer, kDetection, kAccepted1, kOk, kDetection, kHeld2, kOk});
  std::vector<int> asked;
  const std::string text = AsLog(log);
  for (const LoggedMessage& message : ParseLog(text).messages) asked.push_back(message.controller);
  EXPECT_THAT(asked, ElementsAreArray({0, 0, 0, 0, 1, 1, 2}));
}

TEST(TheLog, CutAnywhereIsReadAsFarAsItGoes) {
  EXPECT_THAT(Report(""), HasSubstr("0 runs in 0 lines"));
  EXPECT_THAT(Report(kCheck2), HasSubstr("asks controller 2 for version and checksum"));
  // clang-format off
  const std::string log = AsLog({"Message : $74", kErase2, kRefused2, kOk, kAccepted2,
      kOk, "Answer : 61",       "Programming 5F without answer", kBatchToAll,
      "Message : $75 Sending Full checksum", kChecksum2, kAccepted2,
      kOk, "Answer : 61",       kDetection, kFalseCrc2, kNoAnswer,
      "Message : $73  - Checking Flash", kCheck2, "Recu en String : " + kCheck2 + kHeld2.substr(17), kHeld2,
      kOk});
  // clang-format on
  const ParsedLog whole = ParseLog(log);
  ASSERT_EQ(std::ranges::count(whole.entries, EntryKind::kForeignLine, &LogEntry::kind), 0);
  for (std::size_t size = 0; size <= log.size(); ++size) {
    const ParsedLog head = ParseLog(std::string_view(log).substr(0, size));
    ASSERT_LE(head.messages.size(), whole.messages.size()) << size;
    for (std::size_t n = 0; n < head.messages.size(); ++n) {
      ASSERT_EQ(head.messages[n].request, whole.messages[n].request) << size;
      ASSERT_EQ(head.messages[n].controller, whole.messages[n].controller) << size;
    }
    const bool withinLine = size > 0 && log[size - 1] != '\r' && log[size - 1] != '\n';
    ASSERT_EQ(std::ranges::count(head.entries, EntryKind::kForeignLine, &LogEntry::kind), 0) << size;
    ASSERT_EQ(std::ranges::count(head.entries, EntryKind::kCutLine, &LogEntry::kind), withinLine) << size;
    const std::string tail = Report(std::string_view(log).substr(size));
    if (size <= log.rfind("\n" + kCheck2)) {
      ASSERT_THAT(tail, HasSubstr("version 12/05/31, checksum 6E8C")) << size;
    }
  }
}

// Ten million bytes of frames that are none: 32 bytes for each of these lines, not a kilobyte.
TEST(TheLog, OfManyLinesNeedsLittleMoreMemoryThanItsText) {
  EXPECT_LE(sizeof(LogEntry) + sizeof(LoggedMessage), 32u);
  std::string log;
  for (int n = 0; n < 100'000; ++n) log += "00\r\n";
  const ParsedLog parsed = ParseLog(log);
  EXPECT_EQ(parsed.entries.size(), 100'000u);
  EXPECT_EQ(parsed.messages.size(), 100'000u);
}

}  // namespace
}  // namespace quillon
