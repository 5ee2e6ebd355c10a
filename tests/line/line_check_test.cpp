// Seeded lines with a known cause each, measured and judged as quillon-line does. QUILLON_LINES=10000 in the
// environment makes it the study of docs/line-check.md and prints the table there.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>

#include "commands/frames.h"
#include "line/diagnosis.h"
#include "support/fake_computer.h"

namespace quillon::test {
namespace {

constexpr int kCauses = 9;
constexpr LineCause kCauseOf[kCauses] = {
    LineCause::kNone,        LineCause::kNoise,     LineCause::kLostStart,
    LineCause::kReflections, LineCause::kSlowClock, LineCause::kIdleBytes,
    LineCause::kDoubled,     LineCause::kLatency,   LineCause::kEcho};

/// A line, what is wrong with it, and how often a question to its controllers fails.
struct SeededLine {
  bus::LineOptions options;
  std::vector<bus::ControllerSetup> setups;
  LineCause cause = LineCause::kNone;
  int affectedFrom = 0;  // index of the first controller that suffers
  double failing = 0;    // share of the questions to those that suffer; only for causes that strike by chance
  bool plain = false;
};

SeededLine MakeLine(int index, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  const auto below = [&random](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  SeededLine line;
  line.cause = kCauseOf[index % kCauses];
  line.options.seed = seed;
  line.options.answerDelay = std::chrono::milliseconds(2 + below(20));
  const int baud = std::array{4800, 9600, 19200, 38400}[static_cast<std::size_t>(below(4))];
  for (int i = 0; i < 4; ++i) line.setups.push_back({.number = i * 7 + below(7), .baud = baud});
  line.affectedFrom = below(4);
  // From a failure in 200 questions to three in four, as many between 1 % and 2 % as between 20 % and 40 %.
  line.failing = 0.005 * std::pow(150, below(1001) / 1000.0);
  const auto perByte = [&line](int bytes) { return 1 - std::pow(1 - line.failing, 1.0 / bytes); };
  bus::Disturbance disturbance;
  switch (line.cause) {
    case LineCause::kNoise:
      disturbance.noise = perByte(7 + 13);
      break;
    case LineCause::kLostStart:
      disturbance.lostStart = line.failing;
      break;
    case LineCause::kReflections:
      disturbance.reflections = perByte(13 - 8);
      break;
    case LineCause::kSlowClock: {
      // Bisection: the clock at which bytes are damaged so often at this speed.
      double low = 0, high = 0.1;
      for (int step = 0; step < 60; ++step) {
        disturbance.slowClock = (low + high) / 2;
        const double margin = 0.5 - 8.5 * disturbance.slowClock;
        const double damaged = 0.5 * std::erfc(margin / (5e-6 * baud) / std::sqrt(2.0));
        (damaged < perByte(7 + 13) ? low : high) = disturbance.slowClock;
      }
      break;
    }
    default:
      line.failing = 0;
      line.plain = line.cause != LineCause::kNone;
  }
  // Plain: more than one answer in four is damaged. Noise and a slow clock damage questions too.
  const bool both = disturbance.noise > 0 || disturbance.slowClock > 0;
  if (line.failing > 0) line.plain = (both ? 1 - std::pow(1 - perByte(7 + 13), 13) : line.failing) > 0.25;
  if (line.cause == LineCause::kIdleBytes)
    line.options.idleInterval = std::chrono::milliseconds(20 + below(2000));
  if (line.cause == LineCause::kLatency) line.options.latency = std::chrono::milliseconds(16);
  if (line.cause == LineCause::kEcho) line.options.echo = true;
  const auto first = static_cast<std::size_t>(line.affectedFrom);
  for (std::size_t i = first; i < line.setups.size(); ++i) line.setups[i].disturbance = disturbance;
  if (line.cause == LineCause::kDoubled) {
    line.setups.push_back(line.setups[first]);
    line.setups.back().version = {static_cast<std::uint8_t>(2 * below(128)), 0x42,
                                  0x17};  // 01/02/03 has other bits
  }
  return line;
}

struct Totals {
  std::map<std::pair<LineCause, std::string>, int> matrix;  // true cause, what was said of a plain line
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
  LineCheck check(computer, computer, computer, plan, [] { return false; });
  const LineDiagnosis diagnosis = Diagnose(check.Run([](const LineMeasurement&, bool) {}));

  EXPECT_LE(computer.Now(), check.LongestSeconds()) << "longer than announced";
  for (const SentBytes& sent : computer.sent)
    ASSERT_EQ(sent.bytes, FlashCheckFrame(plan.protocolByte, sent.bytes[1])) << "another frame";

  bool allGood = true;
  for (std::size_t i = 0; i < diagnosis.controllers.size(); ++i) {
    const ControllerDiagnosis& controller = diagnosis.controllers[i];
    allGood &= controller.verdict == LineVerdict::kGood;
    if (line.failing == 0 || static_cast<int>(i) < line.affectedFrom) continue;
    ++totals.bounds;
    totals.boundsHeld += line.failing < controller.bound;
  }
  if (line.cause == LineCause::kNone) {
    ++totals.good;
    totals.falseAlarms += !allGood;
  }
  if (!line.plain && line.cause != LineCause::kNone) return;
  const LineCause said = diagnosis.controllers[static_cast<std::size_t>(line.affectedFrom)].cause;
  ++totals.matrix[{line.cause, CauseWord(said)}];
  if (!line.plain) return;
  ++totals.plain;
  totals.plainRight += said == line.cause;
  totals.plainGood += allGood;
}

void Print(const Totals& totals) {
  std::map<std::string, int> words;
  for (const auto& [key, count] : totals.matrix) words[key.second];
  std::cout << "| is \\ found |";
  for (const auto& [word, none] : words) std::cout << " " << word << " |";
  std::cout << "\n|---|" << std::string(words.size() * 4, ' ').replace(0, std::string::npos, "");
  for (std::size_t i = 0; i < words.size(); ++i) std::cout << "--:|";
  std::cout << "\n";
  for (const LineCause cause : kCauseOf) {
    std::cout << "| " << CauseWord(cause) << " |";
    for (const auto& [word, none] : words) {
      const auto found = totals.matrix.find({cause, word});
      std::cout << " " << (found == totals.matrix.end() ? 0 : found->second) << " |";
    }
    std::cout << "\n";
  }
  std::cout << "bounds that hold: " << totals.boundsHeld << " of " << totals.bounds
            << "\nplain causes: " << totals.plainRight << " of " << totals.plain << " right, "
            << totals.plainGood << " called good\nfalse alarms: " << totals.falseAlarms << " of "
            << totals.good << " good lines\n";
}

TEST(LineCheck, JudgesSeededLines) {
  const char* wanted = std::getenv("QUILLON_LINES");
  const int lines = wanted ? std::atoi(wanted) : 90;
  Totals totals;
  for (int i = 0; i < lines; ++i) {
    SCOPED_TRACE("line " + std::to_string(i));
    Measure(MakeLine(i, static_cast<std::uint64_t>(i)), totals);
  }
  if (wanted) Print(totals);
  EXPECT_GE(totals.boundsHeld, totals.bounds * 95 / 100);
  EXPECT_GE(totals.plainRight, totals.plain * 95 / 100);
  EXPECT_EQ(totals.plainGood, 0);
  EXPECT_EQ(totals.falseAlarms, 0);
}

}  // namespace
}  // namespace quillon::test
