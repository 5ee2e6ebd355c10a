// Finds the probable cause of damage on a line. Each cause damages answers in its own way: noise at any
// place, reflections only at the end, a slow clock only in the last bit of a byte. So the damaged answers of
// a controller are compared with an intact one, and the first cause whose symptoms are found is reported.
#include "line/diagnosis.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <map>

#include "link/exchange.h"
#include "results/answer_numbers.h"

namespace quillon {
namespace {

using enum LineVerdict;

constexpr int kFewest = 3;  // damaged answers of a kind, before it is more than chance
constexpr char kAskMore[] = "Ask at least 20 for a verdict.";

/// What the questions to one controller show.
struct Symptoms {
  const LineDiagnosis& line;
  ControllerDiagnosis& counts;
  int otherSpeed;
  int otherNumbers = 0;        // answers from another controller
  int mostFrequentDamage = 0;  // how often the most frequent damaged answer was received
  int extras = 0;              // intact answers with bytes around them
  int lostStarts = 0;
  int wrongBytes = 0;  // compared with an intact answer
  int wrongInTail = 0;
  int wrongInLastBit = 0;

  bool Silent() const { return counts.missing == counts.asked; }
};

/// The table of causes. The first one whose symptoms are found is reported. The manual has the same table.
struct Cause {
  const char* word;
  LineVerdict bestVerdict;
  bool (*found)(const Symptoms&);
  const char* reason;
  const char* remedy;  // %1 is the other speed, or the place of the noise
};
constexpr Cause kCauses[] = {
    {"echo", kBad, [](const Symptoms& s) { return s.line.echo; },
     "the adapter returns what it sends, and the tool can't separate that from an answer",
     "Switch off the echo of the adapter."},
    {"other-speed", kNotMeasured, [](const Symptoms& s) { return s.otherSpeed != 0; },
     "it answers at another speed only", "Measure it with --speed %1."},
    {"absent", kNotThere, [](const Symptoms& s) { return s.Silent() && s.counts.asked >= kSilentRounds; },
     "it does not answer at any speed", "Look at its supply, its number, its two wires and the protocol."},
    {"few-questions", kNotMeasured, [](const Symptoms& s) { return s.Silent(); },
     "it did not answer, and too few questions were asked", kAskMore},
    {"other-number", kBad, [](const Symptoms& s) { return s.otherNumbers > 0; },
     "the answers contain the number of another controller", "Look at the numbers of both controllers."},
    {"late-driver", kMarginal,
     [](const Symptoms& s) { return s.lostStarts > 0 && 2 * s.lostStarts >= s.counts.damaged; },
     "answers lack their first byte, as when the driver is enabled too late",
     "Exchange this controller; if all suffer, the adapter."},
    {"doubled-number", kBad,
     [](const Symptoms& s) {
       return s.mostFrequentDamage >= kFewest && 4 * s.mostFrequentDamage >= 3 * s.counts.damaged;
     },
     "the answers are damaged in the same way each time, as when two controllers have this number",
     "Unplug one controller after the other until the answers are intact."},
    {"weak-bias", kMarginal, [](const Symptoms& s) { return s.line.idleBytes + s.extras > 1; },
     "bytes come that nobody has sent, as when the bias of the line is too weak",
     "Look for the bias resistors, and for terminators beyond the two at the ends."},
    // Of noisy bytes one in eight is wrong in its last bit alone.
    {"slow-clock", kMarginal,
     [](const Symptoms& s) { return s.wrongBytes >= 2 && s.wrongInLastBit == s.wrongBytes; },
     "only the last bit of bytes is wrong, as when the clock of the controller is off",
     "Exchange this controller, or use a lower speed."},
    // Noise damages questions too, which are then not answered.
    {"reflections", kMarginal,
     [](const Symptoms& s) {
       return s.wrongBytes >= kFewest && s.wrongInTail == s.wrongBytes &&
              4 * s.counts.missing <= s.counts.damaged;
     },
     "only the ends of answers are damaged",
     "Look for a terminator at each end of the cable, and for long branches."},
    {"noise", kMarginal, [](const Symptoms& s) { return s.counts.damaged + s.counts.missing > 0; },
     "answers are damaged at any place or missing", "Look at the cable %1."},
    {"late", kMarginal, [](const Symptoms& s) { return s.counts.late > 0; },
     "answers begin after the time-out", "Raise the time-out."},
    {"latency", kMarginal, [](const Symptoms& s) { return s.line.latency > 0; },
     "the adapter passes bytes on in groups", "Set the latency timer of the adapter to 1 ms."},
    {"few-questions", kNotMeasured, [](const Symptoms& s) { return s.counts.asked < kQuestionsForVerdict; },
     "too few questions were asked", kAskMore},
    {"", kGood, [](const Symptoms&) { return true; }, "all answers are intact and in time", ""},
};

/// The answer that the damaged ones are compared with; empty when none was intact.
Bytes Reference(const MeasuredController& controller) {
  for (const Question& question : controller.questions)
    if (question.reply == LineReply::kGood) return question.bytes;
  return {};
}

/// The first byte of an answer is the protocol byte, as in the question.
bool LacksItsStart(const Bytes& bytes, std::uint8_t protocolByte) {
  Bytes whole{protocolByte};
  whole.insert(whole.end(), bytes.begin(), bytes.end());
  return CrcMatches(whole);
}

void CompareBytes(const Bytes& bytes, const Bytes& reference, Symptoms& symptoms) {
  constexpr std::size_t kTail = 8;
  constexpr unsigned kLastBit = 0x80;  // the lowest bit is sent first
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const unsigned wrong = bytes[i] ^ reference[i];
    if (wrong == 0) continue;
    ++symptoms.counts.damagedAt[i];
    ++symptoms.wrongBytes;
    symptoms.wrongInTail += i >= kTail;
    symptoms.wrongInLastBit += wrong == kLastBit;
  }
}

ControllerDiagnosis Count(const MeasuredController& controller, double timeout) {
  ControllerDiagnosis counts;
  counts.number = controller.number;
  counts.asked = static_cast<int>(controller.questions.size());
  std::vector<double> first;
  int failedInARow = 0;
  for (const Question& question : controller.questions) {
    const bool intact = question.reply == LineReply::kGood;
    if (intact) {
      first.push_back(question.firstByte);
      counts.length = question.bytes.size();
      counts.byteTime += (question.lastByte - question.firstByte) / static_cast<double>(counts.length - 1);
    }
    if (intact && question.firstByte <= timeout) {
      failedInARow = 0;
      ++counts.answered;
    } else {
      ++(intact ? counts.late : question.reply == LineReply::kNone ? counts.missing : counts.damaged);
      counts.repeats = std::max(counts.repeats, ++failedInARow);
    }
  }
  counts.bound = WilsonBound(counts.asked - counts.answered, counts.asked);
  if (first.empty()) return counts;
  std::sort(first.begin(), first.end());
  counts.shortest = first.front();
  counts.median = first[first.size() / 2];
  counts.longest = first.back();
  counts.byteTime /= static_cast<double>(first.size());
  return counts;
}

/// How long the adapter delays bytes. The bytes of an answer then arrive in groups, and the last one at
/// times that differ by that delay. If one controller does not show both symptoms, the adapter is not the
/// cause. A busy computer causes the same symptoms, so the delay must be long compared with its lateness.
double Latency(const LineMeasurement& measurement) {
  constexpr std::size_t kEnough = 5;       // answers
  constexpr double kShareTogether = 0.75;  // of the bytes arrive together with the one before
  constexpr double kNoticeable = 0.008;    // seconds
  double latency = 0;
  for (const MeasuredController& controller : measurement.controllers) {
    std::vector<double> last;
    int together = 0;
    std::size_t steps = 0;
    for (const Question& question : controller.questions) {
      if (question.reply != LineReply::kGood) continue;
      last.push_back(question.lastByte);
      together += question.together;
      steps += question.bytes.size() - 1;
    }
    if (last.size() < kEnough) continue;
    const auto [earliest, latest] = std::minmax_element(last.begin(), last.end());
    const double spread = *latest - *earliest;
    const double noticeable = std::max(kNoticeable, 3 * measurement.lateness);
    if (together < kShareTogether * static_cast<double>(steps) || spread < noticeable) return 0;
    latency = latency == 0 ? spread : std::min(latency, spread);
  }
  return latency;
}

/// Whether answers that contain the number of another controller came from that controller.
bool OtherNumbersAreEvidence(const LineMeasurement& measurement) {
  AnswerNumbers numbers;
  for (const MeasuredController& controller : measurement.controllers)
    for (const Question& question : controller.questions)
      if (question.reply == LineReply::kGood) numbers.Count(controller.number, question.bytes);
  return numbers.OtherNumbersAreEvidence();
}

Symptoms FindSymptoms(const MeasuredController& controller, const LinePlan& plan, const LineDiagnosis& line,
                      ControllerDiagnosis& counts) {
  Symptoms symptoms{line, counts, controller.otherSpeed};
  const Bytes reference = Reference(controller);
  counts.damagedAt.assign(reference.size(), 0);
  std::map<Bytes, int> damaged;
  for (const auto& [asked, reply, bytes, firstByte, lastByte, together] : controller.questions) {
    if (reply == LineReply::kGood)
      symptoms.otherNumbers += AnswerNumbers().Count(controller.number, bytes).has_value();
    if (reply != LineReply::kDamaged) continue;
    symptoms.mostFrequentDamage = std::max(symptoms.mostFrequentDamage, ++damaged[bytes]);
    if (LacksItsStart(bytes, plan.protocolByte)) {
      ++symptoms.lostStarts;
    } else if (!std::ranges::search(bytes, reference).empty()) {
      ++symptoms.extras;
    } else if (bytes.size() == reference.size()) {
      CompareBytes(bytes, reference, symptoms);
    }
  }
  return symptoms;
}

LineVerdict VerdictOf(const ControllerDiagnosis& counts, LineVerdict bestVerdict) {
  if (bestVerdict == kNotThere || bestVerdict == kNotMeasured) return bestVerdict;
  const int failed = counts.asked - counts.answered;
  if (bestVerdict != kBad && counts.asked < kQuestionsForVerdict && failed < kFewest) return kNotMeasured;
  return 10 * failed > counts.asked || counts.repeats >= kSends ? kBad : bestVerdict;
}

/// Where the noise is. The controllers are assumed to be connected in the order of their numbers.
std::string NoisePlace(const LineDiagnosis& line) {
  std::string pattern;  // one letter for each controller that replies: n noise, o other
  int lastOther = 0;
  for (const ControllerDiagnosis& controller : line.controllers) {
    if (controller.missing == controller.asked) continue;
    pattern += controller.cause == "noise" ? 'n' : 'o';
    if (pattern.back() == 'o') lastOther = controller.number;
  }
  if (pattern.find('o') == std::string::npos)
    return "from the adapter on, its screen, and what runs beside it";
  if (std::count(pattern.begin(), pattern.end(), 'n') == 1)
    return "to this controller and its connector, then at its driver";
  if (pattern.find("no") != std::string::npos) return "to each of them and its connectors";
  return "behind controller " + std::to_string(lastOther) + ": all behind it suffer";
}

/// "4 damaged, 1 missing of 20: "
std::string Failures(const ControllerDiagnosis& counts) {
  std::string text;
  for (const auto& [count, what] : {std::pair(counts.damaged, "damaged"),
                                    std::pair(counts.missing, "missing"), std::pair(counts.late, "late")})
    if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
  return text.empty() ? "" : text + " of " + std::to_string(counts.asked) + ": ";
}

void Judge(const Symptoms& symptoms) {
  const Cause& cause = *std::ranges::find_if(kCauses, [&](const Cause& row) { return row.found(symptoms); });
  ControllerDiagnosis& counts = symptoms.counts;
  counts.verdict = VerdictOf(counts, cause.bestVerdict);
  counts.cause = cause.word;
  counts.reason = (counts.verdict == kNotThere ? "" : Failures(counts)) + cause.reason;
  counts.remedy = cause.remedy;
  if (counts.verdict == kNotMeasured && cause.bestVerdict != kNotMeasured) counts.remedy = kAskMore;
}

void FillIn(const std::string& word, std::string& text) {
  if (const std::size_t gap = text.find("%1"); gap != std::string::npos) text.replace(gap, 2, word);
}

}  // namespace

LineDiagnosis Diagnose(const LineMeasurement& measurement) {
  LineDiagnosis line;
  line.echo = measurement.echoes > 0;
  line.idleBytes = measurement.idleBytes;
  line.latency = Latency(measurement);
  const bool otherNumbersAreEvidence = OtherNumbersAreEvidence(measurement);
  for (const MeasuredController& controller : measurement.controllers) {
    ControllerDiagnosis counts = Count(controller, measurement.plan.timeout);
    Symptoms symptoms = FindSymptoms(controller, measurement.plan, line, counts);
    if (!otherNumbersAreEvidence) symptoms.otherNumbers = 0;
    Judge(symptoms);
    line.slowest = std::max(line.slowest, counts.longest);
    line.controllers.push_back(std::move(counts));
  }
  for (std::size_t i = 0; i < line.controllers.size(); ++i) {
    const int speed = measurement.controllers[i].otherSpeed;
    FillIn(speed != 0 ? std::to_string(speed) : NoisePlace(line), line.controllers[i].remedy);
  }
  return line;
}

const char* VerdictText(LineVerdict verdict) {
  constexpr std::array kTexts = {"good", "marginal", "bad", "not there", "not measured"};
  return kTexts[static_cast<std::size_t>(verdict)];
}

double WilsonBound(int failed, int asked) {
  constexpr double kZ = 1.96;  // for a confidence of 95 %
  if (asked == 0) return 1;
  const double n = asked;
  const double share = failed / n;
  const double middle = share + kZ * kZ / (2 * n);
  const double half = kZ * std::sqrt(share * (1 - share) / n + kZ * kZ / (4 * n * n));
  return std::min(1.0, (middle + half) / (1 + kZ * kZ / n));
}

FileProof ProveFile(const LineDiagnosis& diagnosis, const std::vector<std::size_t>& batchFrameSizes) {
  constexpr int kPerQuestion = 7 + 13;  // bytes of question and answer
  // The bytes that the worst controller exchanged without a loss.
  int carried = diagnosis.slowest > 0 ? INT_MAX : 0;
  for (const ControllerDiagnosis& controller : diagnosis.controllers) {
    if (controller.verdict == kNotThere) continue;
    carried =
        std::min(carried, controller.answered == controller.asked ? controller.asked * kPerQuestion : 0);
  }
  FileProof proof{.batches = static_cast<int>(batchFrameSizes.size())};
  int needed = 0;
  for (const std::size_t size : batchFrameSizes) {
    needed += static_cast<int>(size);
    if (needed <= carried) ++proof.provenBatches;
  }
  proof.questions = (needed + kPerQuestion - 1) / kPerQuestion;
  return proof;
}

}  // namespace quillon
