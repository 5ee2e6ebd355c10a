// Times the start of two Qt programs, from exec to the first painting of a window, and their memory there.
// Fails when the second one takes more than its bounds say:
//   quillon-bench-start PLUGINS_FOLDER BARE_WINDOW PROGRAM
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRounds = 41;
constexpr unsigned kMostSeconds = 30;  // of one start: whatever hangs is ended
constexpr double kMostTime = 1.10;     // of the bare window's
constexpr double kMostMemory = 1.05;

struct Start {
  double milliseconds;
  long kilobytes;
};

/// One start; ends this program when that one fails.
Start StartOnce(const char* program) {
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    alarm(kMostSeconds);  // goes on over exec
    execl(program, program, nullptr);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  if (status != 0) {
    std::fprintf(stderr, "%s did not start well\n", program);
    std::exit(1);
  }
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
  return {time.count(), usage.ru_maxrss};
}

template <class Value>
double Median(std::vector<Start> starts, Value Start::*value) {
  const auto middle = starts.begin() + static_cast<std::ptrdiff_t>(starts.size() / 2);
  std::nth_element(starts.begin(), middle, starts.end(),
                   [value](const Start& a, const Start& b) { return a.*value < b.*value; });
  return static_cast<double>((*middle).*value);
}

/// Prints the medians side by side. True: the program's is within `most` times the bare window's.
template <class Value>
bool Compare(const char* what, const std::vector<Start>& bare, const std::vector<Start>& program,
             Value Start::*value, double most) {
  const double measure = Median(bare, value);
  const double own = Median(program, value);
  const bool good = own <= most * measure;
  std::printf("%-22s bare window %9.1f  program %9.1f  ratio %.3f, at most %.2f%s\n", what, measure, own,
              own / measure, most, good ? "" : "  MISSED");
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "quillon-bench-start PLUGINS_FOLDER BARE_WINDOW PROGRAM\n");
    return 2;
  }
  setenv("QT_PLUGIN_PATH", argv[1], 1);
  setenv("QT_QPA_GENERIC_PLUGINS", "firstpaint", 1);
  std::vector<Start> bare;
  std::vector<Start> program;
  for (int round = 0; round < kRounds; ++round) {  // in turns, so that other programs' load hits both alike
    bare.push_back(StartOnce(argv[2]));
    program.push_back(StartOnce(argv[3]));
  }
  const bool inTime = Compare("milliseconds", bare, program, &Start::milliseconds, kMostTime);
  const bool small = Compare("kilobytes", bare, program, &Start::kilobytes, kMostMemory);
  return inTime && small ? EXIT_SUCCESS : EXIT_FAILURE;
}
