// The verdict on a line and on each of its controllers, from what was measured.
#pragma once

#include <string>
#include <vector>

#include "line/measurement.h"
#include "results/verdict.h"

namespace quillon {

enum class LineVerdict { kGood, kMarginal, kBad, kNotMeasured, kNotThere };

/// Their words, which programs rely on.
inline constexpr const char* kLineVerdicts[] = {"good", "marginal", "bad", "not measured", "not there"};

/// When none of them fails, fewer than 17 % of all questions do, with 95 % confidence.
inline constexpr int kQuestionsForVerdict = 20;

/// Times are in seconds.
struct ControllerDiagnosis {
  int number = 0;
  int asked = 0;
  int answered = 0;  ///< intact and in time
  int damaged = 0;
  int late = 0;
  int missing = 0;
  int longestFailure = 0;        ///< most questions that failed one after another
  std::vector<int> damagedAt{};  ///< how often each byte of an answer was wrong
  /// Time to the first byte of intact answers. Without one, these and the next two are 0.
  double shortest = 0, median = 0, longest = 0;
  double byteTime = 0;     ///< mean distance of two bytes
  std::size_t length = 0;  ///< of an answer, in bytes
  double bound = 1;        ///< WilsonBound of what failed
  Verdict verdict{};       ///< `evidence` is the cause, a word for programs such as "slow-clock"

  bool IsThere() const { return verdict.word != kLineVerdicts[static_cast<int>(LineVerdict::kNotThere)]; }
};

struct LineDiagnosis {
  std::vector<ControllerDiagnosis> controllers{};
  bool echo = false;
  int idleBytes = 0;
  double latency = 0;       ///< of the adapter, in seconds; 0: too short to be seen
  double latencyLimit = 0;  ///< a shorter delay is not distinguished from the lateness of this computer
  double slowest = 0;       ///< first byte of an answer, in seconds; 0: no controller answered
};

LineDiagnosis Diagnose(const LineMeasurement& measurement);

/// The upper end of Wilson's interval: with 95 % confidence a smaller share of all questions fails.
double WilsonBound(int failed, int asked);

/// How much of a parallel download of a file the questions cover, by the number of bytes.
struct FileProof {
  int batches = 0;
  int provenBatches = 0;  ///< the questions carried as many bytes as these without a loss
  int questions = 0;      ///< to each controller that carry as many bytes as all batches
};
FileProof ProveFile(const LineDiagnosis& diagnosis, const std::vector<std::size_t>& batchFrameSizes);

}  // namespace quillon
