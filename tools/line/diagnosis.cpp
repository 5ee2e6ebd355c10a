// Finds the probable cause of damage on a line. Each cause damages answers in its own way: noise at any
// place, reflections only at the end, a slow clock only in the last bit of a byte. It has these steps:
//
//     FindSymptoms   counts for each controller how its answers differ from an intact one
//     Latency        finds the delay of the adapter, which affects all controllers
//     Judge          selects the first cause in kCauses whose symptoms are found, and the verdict
//     ProveFile      computes how much of a download the exchanged bytes would have covered
#include "line/diagnosis.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <map>

#include "link/exchange.h"
#include "results/answer_numbers.h"

namespace quillon {
namespace {

using enum LineVerdict;

constexpr int kFewest = 3;  // fewer damaged answers of one kind may be chance
constexpr char kAskMore[] = "Ask at least 20 for a verdict.";

/// What the questions to one controller show.
struct Symptoms : ControllerDiagnosis {
  const LineDiagnosis& line;
  int otherSpeed;
  int otherNumbers = 0;        // answers from another controller
  int mostFrequentDamage = 0;  // how often the most frequent damaged answer was received
  int extras = 0;              // intact answers with bytes around them
  int lostStarts = 0;
  int wrongBytes = 0;  // compared with an intact answer
  int wrongInTail = 0;
  int wrongInLastBit = 0;
  double lastByteSpread = 0;  // the latest last byte of an intact answer minus the earliest, in seconds
  double shareTogether = 0;   // share of the bytes of intact answers that arrive together with the one before
};

/// The table of causes. The first one whose symptoms are found is reported. The manual has the same table.
struct Cause {
  const char* word;
  LineVerdict bestVerdict;
  bool (*found)(const Symptoms&);
  const char* reason;
  const char* advice;  // %1 is the other speed, or the place of the noise
};
constexpr Cause kCauses[] = {
    {"echo", kBad, [](auto& s) { return s.line.echo; },
     "the adapter returns what it sends, and the tool can't separate that from an answer",
     "Switch off the echo of the adapter."},
    {"other-speed", kNotMeasured, [](auto& s) { return s.otherSpeed != 0; },
     "it answers at another speed only", "Measure it with --speed %1."},
    {"absent", kNotThere, [](auto& s) { return s.missing == s.asked && s.asked >= kSilentRounds; },
     "it does not answer at any speed", "Look at its supply, its number, its two wires and the protocol."},
    {"few-questions", kNotMeasured, [](auto& s) { return s.missing == s.asked; },
     "it did not answer, and too few questions were asked", kAskMore},
    {"other-number", kBad, [](auto& s) { return s.otherNumbers > 0; },
     "the answers contain the number of another controller", "Look at the numbers of both controllers."},
    {"late-driver", kMarginal, [](auto& s) { return s.lostStarts > 0 && 2 * s.lostStarts >= s.damaged; },
     "answers lack their first byte, as when the line driver is switched on too late",
     "Exchange this controller; if all suffer, the adapter."},
    {"doubled-number", kBad,
     [](auto& s) { return s.mostFrequentDamage >= kFewest && 4 * s.mostFrequentDamage >= 3 * s.damaged; },
     "the answers are damaged in the same way each time, as when two controllers have this number",
     "Unplug one controller after the other until the answers are intact."},
    {"weak-bias", kMarginal, [](auto& s) { return s.line.idleBytes + s.extras > 1; },
     "bytes arrive that nobody has sent, as when the bias of the line is too weak",
     "Check the bias resistors, and look for terminators beyond the two at the ends."},
    // Of noisy bytes one in eight is wrong in its last bit alone.
    {"slow-clock", kMarginal, [](auto& s) { return s.wrongBytes >= 2 && s.wrongInLastBit == s.wrongBytes; },
     "only the last bit of bytes is wrong, as when its clock is too fast or too slow",
     "Exchange this controller, or use a lower speed."},
    // Noise damages questions too, which are then not answered.
    {"reflections", kMarginal,
     [](auto& s) {
       return s.wrongBytes >= kFewest && s.wrongInTail == s.wrongBytes && 4 * s.missing <= s.damaged;
     },
     "only the ends of answers are damaged",
     "Look for a terminator at each end of the cable, and for long branches."},
    {"noise", kMarginal, [](auto& s) { return s.damaged + s.missing > 0; },
     "answers are damaged at any place or missing", "Look at the cable %1."},
    {"late", kMarginal, [](auto& s) { return s.late > 0; }, "answers begin after the time-out",
     "Enter at least the Time Out that the check recommends."},
    {"latency", kMarginal, [](auto& s) { return s.line.latency > 0; },
     "the adapter passes bytes on in groups", "Set the latency timer of the adapter to 1 ms."},
    {"few-questions", kNotMeasured, [](auto& s) { return s.asked < kQuestionsForVerdict; },
     "too few questions were asked", kAskMore},
    {"", kGood, [](auto&) { return true; }, "all answers are intact and in time", ""},
};

std::vector<Question> IntactAnswers(const MeasuredController& controller) {
  std::vector<Question> intact = controller.questions;
  std::erase_if(intact, [](const Question& question) { return question.reply != LineReply::kGood; });
  return intact;
}

/// Whether an answer lacks only its first byte. That is the protocol byte, as in the question: with it the
/// CRC is right.
bool LacksFirstByte(const Bytes& bytes, std::uint8_t protocolByte) {
  Bytes whole(bytes.size() + 1, protocolByte);
  std::ranges::copy(bytes, whole.begin() + 1);
  return CrcMatches(whole);
}

/// Counts the bytes of a damaged answer that differ from those of an intact one.
void CompareBytes(const Bytes& bytes, const Bytes& reference, Symptoms& symptoms) {
  constexpr std::size_t kTail = 8;     // index from which on reflections damage bytes
  constexpr unsigned kLastBit = 0x80;  // the lowest bit is sent first
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const unsigned wrong = bytes[i] ^ reference[i];
    if (wrong == 0) continue;
    ++symptoms.damagedAt[i];
    ++symptoms.wrongBytes;
    symptoms.wrongInTail += i >= kTail;
    symptoms.wrongInLastBit += wrong == kLastBit;
  }
}

void CountAnswers(const MeasuredController& controller, double timeout, Symptoms& counts) {
  int failedInARow = 0;
  for (const Question& question : controller.questions) {
    const bool intact = question.reply == LineReply::kGood;
    const bool inTime = intact && question.firstByte <= timeout;
    const bool silent = question.reply == LineReply::kNone;
    ++(inTime ? counts.answered : intact ? counts.late : silent ? counts.missing : counts.damaged);
    failedInARow = inTime ? 0 : failedInARow + 1;
    counts.longestFailure = std::max(counts.longestFailure, failedInARow);
  }
  counts.bound = WilsonBound(counts.asked - counts.answered, counts.asked);
}

void MeasureTimes(const MeasuredController& controller, Symptoms& times) {
  std::vector<double> first;
  std::vector<double> last;
  double steps = 0;  // number of steps from one byte of an answer to the next, in all answers
  for (const Question& question : IntactAnswers(controller)) {
    first.push_back(question.firstByte);
    last.push_back(question.lastByte);
    times.length = question.bytes.size();
    times.byteTime += question.lastByte - question.firstByte;
    times.shareTogether += question.bytesWithPrevious;
    steps += static_cast<double>(times.length - 1);
  }
  if (first.empty()) return;
  std::ranges::sort(first);
  times.shortest = first.front();
  times.median = first[first.size() / 2];
  times.longest = first.back();
  times.byteTime /= steps;
  times.shareTogether /= steps;
  times.lastByteSpread = std::ranges::max(last) - std::ranges::min(last);
}

/// How long the adapter delays bytes. The bytes of an answer then arrive in groups, and the last one at
/// times that differ by that delay, at least by `noticeable`. If one controller does not show both symptoms,
/// the adapter is not the cause.
double Latency(const std::vector<Symptoms>& controllers, double noticeable) {
  constexpr int kEnough = 5;               // answers
  constexpr double kShareTogether = 0.75;  // of the bytes
  double latency = 0;
  for (const Symptoms& symptoms : controllers) {
    if (symptoms.answered + symptoms.late < kEnough) continue;
    if (symptoms.shareTogether < kShareTogether || symptoms.lastByteSpread < noticeable) return 0;
    latency = latency == 0 ? symptoms.lastByteSpread : std::min(latency, symptoms.lastByteSpread);
  }
  return latency;
}

/// Adds the numbers in the answers to `numbers`, which counts those of all controllers.
Symptoms FindSymptoms(const MeasuredController& controller, const LinePlan& plan, const LineDiagnosis& line,
                      AnswerNumbers& numbers) {
  Symptoms symptoms{{.number = controller.number, .asked = static_cast<int>(controller.questions.size())},
                    line,
                    controller.otherSpeed};
  CountAnswers(controller, plan.timeout, symptoms);
  MeasureTimes(controller, symptoms);
  const std::vector<Question> intact = IntactAnswers(controller);
  const Bytes reference = intact.empty() ? Bytes{} : intact.front().bytes;
  symptoms.damagedAt.assign(reference.size(), 0);
  for (const Question& question : intact)
    symptoms.otherNumbers += numbers.Add(controller.number, question.bytes).has_value();
  std::map<Bytes, int> damaged;
  for (const Question& question : controller.questions) {
    if (question.reply != LineReply::kDamaged) continue;
    const Bytes& bytes = question.bytes;
    symptoms.mostFrequentDamage = std::max(symptoms.mostFrequentDamage, ++damaged[bytes]);
    if (LacksFirstByte(bytes, plan.protocolByte)) {
      ++symptoms.lostStarts;
    } else if (!reference.empty() &&
               std::search(bytes.begin(), bytes.end(), reference.begin(), reference.end()) != bytes.end()) {
      ++symptoms.extras;
    } else if (bytes.size() == reference.size()) {
      CompareBytes(bytes, reference, symptoms);
    }
  }
  return symptoms;
}

/// `bestVerdict` is that of the cause; many failures make it worse. A run of the tool sends a message up to
/// kSends times. If so many questions in a row failed, the run would have failed.
LineVerdict VerdictOf(const Symptoms& symptoms, LineVerdict bestVerdict) {
  if (bestVerdict == kNotThere || bestVerdict == kNotMeasured) return bestVerdict;
  const int failed = symptoms.asked - symptoms.answered;
  if (bestVerdict != kBad && symptoms.asked < kQuestionsForVerdict && failed < kFewest) return kNotMeasured;
  return 10 * failed > symptoms.asked || symptoms.longestFailure >= kSends ? kBad : bestVerdict;
}

/// "4 damaged, 1 missing of 20: ", the beginning of a reason.
std::string Failures(const ControllerDiagnosis& counts) {
  std::string text;
  for (const auto& [count, what] : {std::pair(counts.damaged, "damaged"),
                                    std::pair(counts.missing, "missing"), std::pair(counts.late, "late")})
    if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
  return text.empty() ? "" : text + " of " + std::to_string(counts.asked) + ": ";
}

Verdict Judge(const Symptoms& symptoms) {
  const Cause& cause = *std::ranges::find_if(kCauses, [&](const Cause& row) { return row.found(symptoms); });
  const LineVerdict verdict = VerdictOf(symptoms, cause.bestVerdict);
  const bool tooFew = verdict == kNotMeasured && cause.bestVerdict != kNotMeasured;
  return {.good = verdict == kGood,
          .word = kLineVerdicts[static_cast<std::size_t>(verdict)],
          .evidence = cause.word,
          .reason = (verdict == kNotThere ? "" : Failures(symptoms)) + cause.reason,
          .advice = tooFew ? kAskMore : cause.advice};
}

/// Where the noise is. The controllers are assumed to be connected in the order of their numbers.
std::string NoisePlace(const LineDiagnosis& line) {
  std::string pattern;  // one letter for each controller that replies: n noise, o other
  int lastOther = 0;
  for (const ControllerDiagnosis& controller : line.controllers) {
    if (controller.missing == controller.asked) continue;
    pattern += controller.verdict.evidence == "noise" ? 'n' : 'o';
    if (pattern.back() == 'o') lastOther = controller.number;
  }
  if (pattern.find('o') == std::string::npos)
    return "from the adapter on, its screen, and what runs beside it";
  if (std::ranges::count(pattern, 'n') == 1)
    return "to this controller and its connector, then at its driver";
  if (pattern.find("no") != std::string::npos) return "to each of them and its connectors";
  return "behind controller " + std::to_string(lastOther) + ": all behind it suffer";
}

}  // namespace

LineDiagnosis Diagnose(const LineMeasurement& measurement) {
  LineDiagnosis line{.echo = measurement.echoes > 0, .idleBytes = measurement.idleBytes};
  AnswerNumbers numbers;
  std::vector<Symptoms> all;
  for (const MeasuredController& controller : measurement.controllers)
    all.push_back(FindSymptoms(controller, measurement.plan, line, numbers));
  // A busy computer, which wakes this program late, causes the same symptoms. So the delay must be longer.
  line.latencyLimit = std::max(0.008, 3 * measurement.lateness);
  line.latency = Latency(all, line.latencyLimit);
  for (Symptoms& symptoms : all) {
    if (!numbers.OtherNumbersAreEvidence()) symptoms.otherNumbers = 0;
    symptoms.verdict = Judge(symptoms);
    line.slowest = std::max(line.slowest, symptoms.longest);
    line.controllers.push_back(symptoms);
  }
  // The place of noise depends on the verdicts on all controllers, so the advice is completed afterwards.
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::string& advice = line.controllers[i].verdict.advice;
    const std::string value = all[i].otherSpeed != 0 ? std::to_string(all[i].otherSpeed) : NoisePlace(line);
    if (const std::size_t at = advice.find("%1"); at != std::string::npos) advice.replace(at, 2, value);
  }
  return line;
}

double WilsonBound(int failed, int asked) {
  if (asked == 0) return 1;
  const double z = 1.96 * 1.96 / asked;  // 1.96: for a confidence of 95 %
  const double share = 1.0 * failed / asked;
  return std::min(1.0, (share + z / 2 + std::sqrt(z * (share * (1 - share) + z / 4))) / (1 + z));
}

/// A batch of the file counts as proven if the questions exchanged at least as many bytes without a loss as
/// it and the batches before it have.
FileProof ProveFile(const LineDiagnosis& diagnosis, const std::vector<std::size_t>& batchFrameSizes) {
  constexpr int kPerQuestion = 7 + 13;  // bytes of question and answer
  // The bytes that the worst controller exchanged without a loss; none if no controller answered.
  int carried = diagnosis.slowest > 0 ? INT_MAX : 0;
  for (const ControllerDiagnosis& controller : diagnosis.controllers) {
    const bool lossless = controller.answered == controller.asked;
    if (controller.IsThere()) carried = std::min(carried, lossless ? controller.asked * kPerQuestion : 0);
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
