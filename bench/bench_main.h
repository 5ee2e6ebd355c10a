#pragma once

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>

namespace quillon::test {

/// Prints what is measured, and notes whether a bound was missed.
class BoundReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) missed_ |= run.error_occurred;
    ConsoleReporter::ReportRuns(runs);
  }
  bool Missed() const { return missed_; }

 private:
  bool missed_ = false;
};

/// Runs the measurements that the command line asks for. Returns the exit status: a failure when one of them
/// missed its bound. The system ends what hangs.
inline int RunBenches(int argc, char** argv) {
  constexpr unsigned kMostSeconds = 900;  // some times what all of them need
  alarm(kMostSeconds);
  benchmark::Initialize(&argc, argv);
  BoundReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return reporter.Missed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace quillon::test
