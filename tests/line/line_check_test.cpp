// Seeded lines with a known cause each, measured and judged as quillon-line does. QUILLON_LINES=10000 in the
// environment makes it the study of docs/line-check.md and prints the numbers of its tables; QUILLON_SEED is
// the first seed.
#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <map>

#include "commands/frames.h"
#include "line/diagnosis.h"
#include "support/fake_computer.h"

namespace quillon::test {
namespace {

constexpr const char* kCauses[] = {"",          "noise",          "late-driver", "reflections", "slow-clock",
                                   "weak-bias", "doubled-number", "latency",     "echo"};

/// A line, what is wrong with it, and how often a question to its controllers fails.
struct SeededLine {
  bus::LineOptions options;
  std::vector<bus::ControllerSetup> setups;
  std::string cause;
  int affectedFrom = 0;  // index of the first controller that suffers
  double failing = 0;    // share of the questions to those that suffer; only for causes that strike by chance
  bool plain = false;
};

/// How slow a clock is that damages so many bytes at a speed, by bisection.
double ClockThatDamages(double wanted, int baud) {
  double low = 0, high = 0.1;
  for (int step = 0; step < 60; ++step) {
    const double clock = (low + high) / 2;
    const double margin = 0.5 - 8.5 * clock;
    const double damaged = 0.5 * std::erfc(margin / (5e-6 * baud) / std::sqrt(2.0));
    (damaged < wanted ? low : high) = clock;
  }
  return high;
}

SeededLine MakeLine(int index, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  const auto below = [&random](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  SeededLine line;
  line.cause = kCauses[static_cast<std::size_t>(index) % std::size(kCauses)];
  line.options.seed = seed;
  line.options.answerDelay = std::chrono::milliseconds(2 + below(20));
  const int baud = std::array{4800, 9600, 19200, 38400}[static_cast<std::size_t>(below(4))];
  for (int i = 0; i < 4; ++i) line.setups.push_back({.number = i * 7 + below(7), .baud = baud});
  line.affectedFrom = below(4);
  // From a failure in 200 questions to three in four, as many between 1 % and 2 % as between 20 % and 40 %.
  line.failing = 0.005 * std::pow(150, below(1001) / 1000.0);
  const auto perByte = [&line](int bytes) { return 1 - std::pow(1 - line.failing, 1.0 / bytes); };
  bus::Disturbance disturbance;
  if (line.cause == "noise") {
    disturbance.noise = perByte(7 + 13);
  } else if (line.cause == "late-driver") {
    disturbance.lostStart = line.failing;
  } else if (line.cause == "reflections") {
    disturbance.reflections = perByte(13 - 8);
  } else if (line.cause == "slow-clock") {
    disturbance.slowClock = ClockThatDamages(perByte(7 + 13), baud);
  } else {
    line.failing = 0;
    line.plain = !line.cause.empty();
  }
  // Plain: more than one answer in four is damaged. Noise and a slow clock damage questions too.
  const bool both = disturbance.noise > 0 || disturbance.slowClock > 0;
  if (line.failing > 0) line.plain = (both ? 1 - std::pow(1 - perByte(7 + 13), 13) : line.failing) > 0.25;
  if (line.cause == "weak-bias") line.options.idleInterval = std::chrono::milliseconds(20 + below(2000));
  if (line.cause == "latency") line.options.latency = std::chrono::milliseconds(16);
  if (line.cause == "echo") line.options.echo = true;
  const auto first = static_cast<std::size_t>(line.affectedFrom);
  for (std::size_t i = first; i < line.setups.size(); ++i) line.setups[i].disturbance = disturbance;
  if (line.cause == "doubled-number") {
    line.setups.push_back(line.setups[first]);
    line.setups.back().version = {static_cast<std::uint8_t>(2 * below(128)), 0x42,
                                  0x17};  // 01/02/03 has other bits
  }
  return line;
}

struct Totals {
  std::map<std::pair<std::string, std::string>, int> matrix;  // true cause, reported cause of a plain line
  int bounds = 0, boundsHeld = 0;
  int plain = 0, plainRight = 0, plainGood = 0;
  int good = 0, falseAlarms = 0;
};

void Measure(const SeededLine& line, Totals& totals) {
  FakeComputer computer;
  bus::Bus bus(line.options);
  LinePlan plan;
  plan.baud = line.setups[0].baud;
  for (const bus::ControllerSetup& setup : line.setups) {
    bus.Add(setup);
    if (plan.controllers.size() < 4) plan.controllers.push_back(setup.number);
  }
  computer.bus = &bus;
  const LineDiagnosis diagnosis =
      Diagnose(MeasureLine(computer, computer, computer, plan, [] { return false; }, {}));

  EXPECT_LE(computer.Now(), LongestSeconds(plan)) << "longer than announced";
  for (const SentBytes& sent : computer.sent)
    ASSERT_EQ(sent.bytes, FlashCheckFrame(plan.protocolByte, sent.bytes[1])) << "another frame";

  bool allGood = true;
  for (std::size_t i = 0; i < diagnosis.controllers.size(); ++i) {
    const ControllerDiagnosis& controller = diagnosis.controllers[i];
    allGood &= controller.verdict.good;
    if (line.failing == 0 || static_cast<int>(i) < line.affectedFrom) continue;
    ++totals.bounds;
    totals.boundsHeld += line.failing < controller.bound;
  }
  if (line.cause.empty()) {
    ++totals.good;
    totals.falseAlarms += !allGood;
  }
  if (!line.plain && !line.cause.empty()) return;
  const std::string& said =
      diagnosis.controllers[static_cast<std::size_t>(line.affectedFrom)].verdict.evidence;
  ++totals.matrix[{line.cause, said}];
  if (!line.plain) return;
  ++totals.plain;
  totals.plainRight += said == line.cause;
  totals.plainGood += allGood;
}

/// What the tables of docs/line-check.md contain.
void Print(const Totals& totals) {
  for (const auto& [causes, count] : totals.matrix)
    std::cout << "is \"" << causes.first << "\", found \"" << causes.second << "\": " << count << "\n";
  std::cout << "bounds that hold: " << totals.boundsHeld << " of " << totals.bounds
            << "\nplain causes: " << totals.plainRight << " of " << totals.plain << " right, "
            << totals.plainGood << " called good\nfalse alarms: " << totals.falseAlarms << " of "
            << totals.good << " good lines\n";
}

/// A number of the environment.
std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text ? std::strtoull(text, nullptr, 10) : otherwise;
}

TEST(LineCheck, JudgesSeededLines) {
  const auto lines = static_cast<int>(Setting("QUILLON_LINES", 90));
  const std::uint64_t firstSeed = Setting("QUILLON_SEED", 0);
  Totals totals;
  for (int i = 0; i < lines; ++i) {
    SCOPED_TRACE("line " + std::to_string(i));
    Measure(MakeLine(i, firstSeed + static_cast<std::uint64_t>(i)), totals);
  }
  if (std::getenv("QUILLON_LINES")) Print(totals);
  EXPECT_GE(totals.boundsHeld, totals.bounds * 95 / 100);
  EXPECT_GE(totals.plainRight, totals.plain * 95 / 100);
  EXPECT_EQ(totals.plainGood, 0);
  EXPECT_EQ(totals.falseAlarms, 0);
}

MeasuredController Measured(int number, int asked, Question question) {
  question.bytes[1] = static_cast<std::uint8_t>(question.bytes[1] + number);
  return {.number = number, .questions = std::vector<Question>(static_cast<std::size_t>(asked), question)};
}

TEST(LineCheck, FindsCausesThatNoSeededLineHas) {
  const Bytes answer(13, 0);
  const Question good{.reply = LineReply::kGood, .bytes = answer, .firstByte = 0.01};
  const Question late{.reply = LineReply::kGood, .bytes = answer, .firstByte = 0.6};
  const Question none{.bytes = answer};
  Question other = good;
  other.bytes[1] = 3;
  MeasuredController slow = Measured(1, kSilentRounds, none);
  slow.otherSpeed = 19200;
  const struct {
    MeasuredController controller;
    const char* verdict;
    const char* cause;
    const char* remedy;
  } rows[] = {
      {Measured(1, 20, good), "good", "", ""},
      {Measured(1, 19, good), "not measured", "few-questions", "at least 20"},
      {Measured(1, 3, none), "not measured", "few-questions", "at least 20"},
      {Measured(1, 4, none), "not there", "absent", "supply"},
      {Measured(1, 20, late), "bad", "late", "Time Out"},
      {Measured(1, 19, other), "bad", "other-number", "numbers of both"},
      {slow, "not measured", "other-speed", "--speed 19200"},
  };
  for (const auto& row : rows) {
    LineMeasurement measurement;
    measurement.controllers = {row.controller, Measured(9, 20, good)};
    const Verdict found = Diagnose(measurement).controllers[0].verdict;
    EXPECT_EQ(found.word, row.verdict) << row.cause;
    EXPECT_EQ(found.evidence, row.cause);
    EXPECT_THAT(found.advice, testing::HasSubstr(row.remedy));
  }
}

TEST(LineCheck, WatchesControllersThatAreSilent) {
  FakeComputer computer;
  const LineMeasurement watched =
      MeasureLine(computer, computer, computer, {.controllers = {5}, .watch = true},
                  [&] { return computer.Now() > 60; }, {});
  EXPECT_GT(watched.controllers[0].questions.size(), 20U);
}

}  // namespace
}  // namespace quillon::test
