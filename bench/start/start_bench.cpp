// Times the start of Qt programs, from exec to the first painting of a window, and their memory there:
//   quillon-bench-start PLUGINS_FOLDER PROGRAM...
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kRounds = 21;

struct Start {
  double milliseconds;
  long kilobytes;
};

/// One start; ends this program when that one fails.
Start StartOnce(const char* program) {
  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
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

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "quillon-bench-start PLUGINS_FOLDER PROGRAM...\n");
    return 2;
  }
  setenv("QT_PLUGIN_PATH", argv[1], 1);
  setenv("QT_QPA_GENERIC_PLUGINS", "firstpaint", 1);
  std::vector<std::vector<Start>> starts(static_cast<std::size_t>(argc));
  for (int round = 0; round < kRounds; ++round) {  // in turns, so that the neighbours' load hits all alike
    for (int i = 2; i < argc; ++i) starts[static_cast<std::size_t>(i)].push_back(StartOnce(argv[i]));
  }
  for (int i = 2; i < argc; ++i) {
    auto& own = starts[static_cast<std::size_t>(i)];
    std::sort(own.begin(), own.end(),
              [](const Start& a, const Start& b) { return a.milliseconds < b.milliseconds; });
    const Start& median = own[own.size() / 2];
    std::printf("%-40s median %7.1f ms  least %7.1f ms  %6ld KiB\n", argv[i], median.milliseconds,
                own.front().milliseconds, median.kilobytes);
  }
}
