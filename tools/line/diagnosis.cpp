#include "line/diagnosis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "link/exchange.h"

namespace quillon {
namespace {

/// The causes in the order in which they are looked for; FindCause has the symptoms. The manual has the same
/// table.
struct CauseText {
  LineCause cause;
  const char* word;
  LineVerdict atBest;
  const char* reason;
  const char* remedy;
};
constexpr CauseText kCauses[] = {
    {LineCause::kEcho, "echo", LineVerdict::kBad,
     "the adapter returns what it sends, and the tool can't separate that from an answer",
     "Switch off the echo of the adapter."},
    {LineCause::kAbsent, "absent", LineVerdict::kNotThere, "it does not answer at any speed",
     "Look at its supply, its number, its two wires and the protocol."},
    {LineCause::kOtherSpeed, "other-speed", LineVerdict::kNotMeasured, "it answers at another speed only",
     "Measure it with --speed %1."},
    {LineCause::kOtherNumber, "other-number", LineVerdict::kBad,
     "the answers contain the number of another controller", "Look at the numbers of both controllers."},
    {LineCause::kDoubled, "doubled-number", LineVerdict::kBad,
     "the answers are damaged in the same way each time, as when two controllers have this number",
     "Unplug one controller after the other until the answers are intact."},
    {LineCause::kIdleBytes, "weak-bias", LineVerdict::kMarginal,
     "bytes come that nobody has sent, as when the bias of the line is too weak",
     "Look for the bias resistors, and for terminators beyond the two at the ends."},
    {LineCause::kLostStart, "late-driver", LineVerdict::kMarginal,
     "answers lack their first byte, as when the driver is enabled too late",
     "Exchange this controller; if all suffer, the adapter."},
    {LineCause::kSlowClock, "slow-clock", LineVerdict::kMarginal,
     "only the last bit of bytes is wrong, as when the clock of the controller is off",
     "Exchange this controller, or use a lower speed."},
    {LineCause::kReflections, "reflections", LineVerdict::kMarginal, "only the ends of answers are damaged",
     "Look for a terminator at each end of the cable, and for long branches."},
    {LineCause::kNoise, "noise", LineVerdict::kMarginal, "answers are damaged at any place or missing",
     "Look at the cable %1."},
    {LineCause::kLate, "late", LineVerdict::kMarginal, "answers begin after the time-out",
     "Raise the time-out."},
    {LineCause::kLatency, "latency", LineVerdict::kMarginal, "the adapter passes bytes on in lumps",
     "Set the latency timer of the adapter to 1 ms."},
    {LineCause::kFewQuestions, "few-questions", LineVerdict::kNotMeasured, "too few questions were asked",
     "Ask at least 20 for a verdict."},
    {LineCause::kNone, "none", LineVerdict::kGood, "all answers are intact and in time", ""},
};

const CauseText& TextOf(LineCause cause) {
  return *std::find_if(std::begin(kCauses), std::end(kCauses),
                       [cause](const CauseText& text) { return text.cause == cause; });
}

/// What is found in the answers of a controller.
struct Evidence {
  int otherNumbers = 0;
  int repeated = 0;  // of the most frequent damaged answer
  int extras = 0;    // intact answers with bytes around them
  int lostStarts = 0;
  int wrongBytes = 0;  // compared with an intact answer
  int wrongInTail = 0;
  int wrongInLastBit = 0;
};

/// The answer that the damaged ones are compared with; empty when none was intact.
Bytes Reference(const MeasuredController& controller) {
  for (const Question& question : controller.questions)
    if (question.reply == LineReply::kGood) return question.bytes;
  return {};
}

bool Contains(const Bytes& bytes, const Bytes& part) {
  return !part.empty() && std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

/// The first byte of an answer is the protocol byte, as in the question.
bool LacksItsStart(const Bytes& bytes, std::uint8_t protocolByte) {
  Bytes whole{protocolByte};
  whole.insert(whole.end(), bytes.begin(), bytes.end());
  return CrcMatches(whole);
}

void CompareBytes(const Bytes& bytes, const Bytes& reference, Evidence& evidence,
                  std::vector<int>& damagedAt) {
  constexpr std::size_t kTail = 8;
  constexpr unsigned kLastBit = 0x80;  // the lowest bit is sent first
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const unsigned wrong = bytes[i] ^ reference[i];
    evidence.wrongBytes += wrong != 0;
    damagedAt[i] += wrong != 0;
    evidence.wrongInTail += wrong != 0 && i >= kTail;
    evidence.wrongInLastBit += wrong == kLastBit;
  }
}

Evidence FindEvidence(const MeasuredController& controller, std::uint8_t protocolByte,
                      std::vector<int>& damagedAt) {
  Evidence evidence;
  const Bytes reference = Reference(controller);
  damagedAt.assign(reference.size(), 0);
  std::map<Bytes, int> damaged;
  for (const Question& question : controller.questions) {
    evidence.otherNumbers += question.reply == LineReply::kGood && question.bytes[1] != controller.number;
    if (question.reply != LineReply::kDamaged) continue;
    evidence.repeated = std::max(evidence.repeated, ++damaged[question.bytes]);
    if (LacksItsStart(question.bytes, protocolByte)) {
      ++evidence.lostStarts;
    } else if (Contains(question.bytes, reference)) {
      ++evidence.extras;
    } else if (question.bytes.size() == reference.size()) {
      CompareBytes(question.bytes, reference, evidence, damagedAt);
    }
  }
  return evidence;
}

ControllerDiagnosis Count(const MeasuredController& controller, double timeout) {
  ControllerDiagnosis counts;
  counts.number = controller.number;
  counts.asked = static_cast<int>(controller.questions.size());
  std::vector<double> first;
  int failedInARow = 0;
  for (const Question& question : controller.questions) {
    if (question.reply == LineReply::kGood) {
      failedInARow = 0;
      first.push_back(question.firstByte);
      counts.length = question.bytes.size();
      counts.byteTime += (question.lastByte - question.firstByte) / static_cast<double>(counts.length - 1);
      ++(question.firstByte > timeout ? counts.late : counts.answered);
    } else {
      ++(question.reply == LineReply::kNone ? counts.missing : counts.damaged);
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

/// How long the adapter holds bytes back. The bytes of an answer then come in lumps, and the last one at
/// times that differ by that delay. One controller without these symptoms refutes them. A busy computer
/// causes the same symptoms, so its own lateness has to be small compared with them.
double Latency(const LineMeasurement& measurement) {
  constexpr std::size_t kFewest = 5;     // answers
  constexpr double kInLumps = 0.75;      // share of bytes that come together with the one before
  constexpr double kNoticeable = 0.008;  // seconds
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
    if (last.size() < kFewest) continue;
    const auto [earliest, latest] = std::minmax_element(last.begin(), last.end());
    const double spread = *latest - *earliest;
    const double noticeable = std::max(kNoticeable, 3 * measurement.lateness);
    if (together < kInLumps * static_cast<double>(steps) || spread < noticeable) return 0;
    latency = latency == 0 ? spread : std::min(latency, spread);
  }
  return latency;
}

LineCause FindCause(const ControllerDiagnosis& counts, const Evidence& evidence, const LineDiagnosis& line,
                    int otherSpeed) {
  constexpr int kFewest = 3;  // of a kind, before it is more than chance
  if (line.echo) return LineCause::kEcho;
  if (otherSpeed != 0) return LineCause::kOtherSpeed;
  if (counts.missing == counts.asked)
    return counts.asked < kSilentRounds ? LineCause::kFewQuestions : LineCause::kAbsent;
  if (evidence.otherNumbers > 0) return LineCause::kOtherNumber;
  if (counts.damaged > 0 && 2 * evidence.lostStarts >= counts.damaged) return LineCause::kLostStart;
  if (evidence.repeated >= kFewest && 4 * evidence.repeated >= 3 * counts.damaged) return LineCause::kDoubled;
  if (line.idleBytes + evidence.extras > 1) return LineCause::kIdleBytes;
  // Of noisy bytes one in eight is wrong in its last bit, and five of 13 are in the tail; noise damages
  // questions too, which are then not answered.
  if (evidence.wrongBytes >= 2 && evidence.wrongInLastBit == evidence.wrongBytes)
    return LineCause::kSlowClock;
  const bool onlyTail = evidence.wrongBytes >= kFewest && evidence.wrongInTail == evidence.wrongBytes;
  if (onlyTail && 4 * counts.missing <= counts.damaged) return LineCause::kReflections;
  if (counts.damaged + counts.missing > 0) return LineCause::kNoise;
  if (counts.late > 0) return LineCause::kLate;
  if (line.latency > 0) return LineCause::kLatency;
  return counts.asked < kQuestionsForVerdict ? LineCause::kFewQuestions : LineCause::kNone;
}

LineVerdict VerdictOf(const ControllerDiagnosis& counts, LineVerdict atBest) {
  if (atBest == LineVerdict::kNotThere || atBest == LineVerdict::kNotMeasured) return atBest;
  const int failed = counts.damaged + counts.missing;
  if (atBest != LineVerdict::kBad && counts.asked < kQuestionsForVerdict && failed < 3)
    return LineVerdict::kNotMeasured;
  if (10 * failed > counts.asked || counts.repeats >= kSends) return LineVerdict::kBad;
  return atBest;
}

/// Where noise has its place. The controllers are taken to be connected in the order of their numbers.
std::string NoisePlace(const LineDiagnosis& line) {
  std::string pattern;  // one letter for each controller that is there
  int lastGood = 0;
  for (const ControllerDiagnosis& controller : line.controllers) {
    if (controller.cause == LineCause::kAbsent) continue;
    const bool suffers = controller.cause == LineCause::kNoise;
    pattern += suffers ? 's' : 'g';
    if (!suffers) lastGood = controller.number;
  }
  if (pattern.find('g') == std::string::npos)
    return "from the adapter on, its screen, and what runs beside it";
  if (std::count(pattern.begin(), pattern.end(), 's') == 1)
    return "to this controller and its connector, then at its driver";
  if (pattern.find("sg") != std::string::npos) return "to each of them and its connectors";
  return "behind controller " + std::to_string(lastGood) + ": all behind it suffer";
}

std::string Failures(const ControllerDiagnosis& counts) {
  std::string text;
  for (const auto& [count, what] : {std::pair(counts.damaged, "damaged"),
                                    std::pair(counts.missing, "missing"), std::pair(counts.late, "late")})
    if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
  return text.empty() ? "" : text + " of " + std::to_string(counts.asked) + ": ";
}

void Explain(ControllerDiagnosis& counts, const LineDiagnosis& line, int otherSpeed) {
  const CauseText& text = TextOf(counts.cause);
  counts.verdict = VerdictOf(counts, text.atBest);
  counts.reason = (counts.cause == LineCause::kAbsent ? "" : Failures(counts)) + text.reason;
  counts.remedy = text.remedy;
  if (counts.verdict == LineVerdict::kNotMeasured && text.atBest != LineVerdict::kNotMeasured)
    counts.remedy = TextOf(LineCause::kFewQuestions).remedy;
  if (const std::size_t gap = counts.remedy.find("%1"); gap != std::string::npos)
    counts.remedy.replace(gap, 2, otherSpeed != 0 ? std::to_string(otherSpeed) : NoisePlace(line));
}

}  // namespace

double WilsonBound(int failed, int asked) {
  constexpr double kZ = 1.96;  // of 95 %
  if (asked == 0) return 1;
  const double n = asked;
  const double share = failed / n;
  const double middle = share + kZ * kZ / (2 * n);
  const double half = kZ * std::sqrt(share * (1 - share) / n + kZ * kZ / (4 * n * n));
  return std::min(1.0, (middle + half) / (1 + kZ * kZ / n));
}

LineDiagnosis Diagnose(const LineMeasurement& measurement) {
  LineDiagnosis line;
  line.echo = measurement.echoes > 0;
  line.idleBytes = measurement.idleBytes;
  line.latency = Latency(measurement);
  for (const MeasuredController& controller : measurement.controllers) {
    ControllerDiagnosis counts = Count(controller, measurement.plan.timeout);
    const Evidence evidence = FindEvidence(controller, measurement.plan.protocolByte, counts.damagedAt);
    counts.cause = FindCause(counts, evidence, line, controller.otherSpeed);
    line.slowest = std::max(line.slowest, counts.longest);
    line.controllers.push_back(std::move(counts));
  }
  for (std::size_t i = 0; i < line.controllers.size(); ++i)
    Explain(line.controllers[i], line, measurement.controllers[i].otherSpeed);
  return line;
}

const char* VerdictText(LineVerdict verdict) {
  constexpr std::array kTexts = {"good", "marginal", "bad", "not there", "not measured"};
  return kTexts[static_cast<std::size_t>(verdict)];
}

const char* CauseWord(LineCause cause) { return TextOf(cause).word; }

FileProof ProveFile(const LineDiagnosis& diagnosis, const std::vector<std::size_t>& batchFrames) {
  constexpr std::size_t kPerQuestion = 7 + 13;  // bytes of question and answer
  FileProof proof;
  std::size_t carried =
      diagnosis.slowest > 0 ? SIZE_MAX : 0;  // bytes without a loss, of the worst controller
  for (const ControllerDiagnosis& controller : diagnosis.controllers) {
    if (controller.cause == LineCause::kAbsent) continue;
    const bool lossless = controller.answered == controller.asked;
    carried = std::min(carried, lossless ? static_cast<std::size_t>(controller.asked) * kPerQuestion : 0);
  }
  std::size_t needed = 0;
  for (const std::size_t frame : batchFrames) {
    needed += frame;
    ++proof.batches;
    if (needed <= carried) ++proof.provenBatches;
  }
  proof.questions = static_cast<int>((needed + kPerQuestion - 1) / kPerQuestion);
  return proof;
}

}  // namespace quillon
