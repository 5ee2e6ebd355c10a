// quillon-soak: random sessions of an operator at a random line, in virtual time.
//
// The rules that no session may break are checked after each run and at the end of the session, see
// session.h. The first session that breaks one is repeated with fewer and fewer steps. The steps that it
// needs are printed.
//
//     quillon-soak 8000 1      8,000 sessions, the first with seed 1
//     quillon-soak 1 17        the session of seed 17, as printed of a violation
#include <malloc.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <random>

#include "session.h"
#include "workflows/run_program.h"

namespace quillon::soak {
namespace {

constexpr unsigned kLongestSession = 60;   // seconds of real time
constexpr std::uint64_t kWarmUp = 300;     // sessions, before the memory is measured
constexpr std::uint64_t kLongSoak = 8000;  // sessions, in which each rare state must occur
// Bytes that may come in addition: a longer text, and blocks that the heap keeps for reuse but counts as
// used.
constexpr std::size_t kToleranceOfRuns = 4'096;
constexpr std::size_t kToleranceOfSessions = 65'536;

std::uint64_t currentSeed = 0;

/// Prints the seed of a session that crashes or hangs. Nothing else can be done in a signal handler.
void PrintSeed(int signal) {
  char text[100];
  const int length = std::snprintf(text, sizeof text, "soak: seed %llu: signal %d\n",
                                   static_cast<unsigned long long>(currentSeed), signal);
  _exit(write(STDERR_FILENO, text, static_cast<std::size_t>(length)) < 0 ? 2 : 1);
}

/// Returns the first violation, or "".
std::string Play(const Scenario& scenario, Counts& counts) {
  currentSeed = scenario.seed;
  alarm(kLongestSession);
  try {
    return Session(scenario, counts).Play();
  } catch (const std::exception& error) {
    return std::string("exception: ") + error.what();
  }
}

std::string RuleOf(const std::string& violation) { return violation.substr(0, violation.find(':')); }

/// Leaves out one step after the other, as long as the same rule is broken.
Scenario Shrink(Scenario scenario, const std::string& rule) {
  Counts ignored;
  for (std::size_t i = scenario.steps.size(); i-- > 0;) {
    Scenario shorter = scenario;
    shorter.steps.erase(shorter.steps.begin() + static_cast<std::ptrdiff_t>(i));
    if (RuleOf(Play(shorter, ignored)) == rule) scenario = shorter;
  }
  return scenario;
}

/// Plays the session of a seed. Returns whether it broke no rule; prints a violation with its steps.
bool PlaySeed(std::uint64_t seed, Counts& counts) {
  const Scenario scenario = RandomScenario(seed);
  const std::string violation = Play(scenario, counts);
  if (violation.empty()) return true;
  const auto printed = static_cast<unsigned long long>(seed);
  std::printf("soak: seed %llu: %s\n", printed, violation.c_str());
  const Scenario shortest = Shrink(scenario, RuleOf(violation));
  std::printf("%zu of %zu steps are needed:\n", shortest.steps.size(), scenario.steps.size());
  for (const Step& step : shortest.steps)
    std::printf("%10.3f s  %s\n", std::chrono::duration<double>(step.at).count(), step.words.c_str());
  std::printf("To play it alone: scripts/soak 1 %llu\n", printed);
  return false;
}

/// What the process holds, at one moment and later.
class Holdings {
 public:
  /// Whether there is more of it now, apart from the bytes of `tolerance`; prints so.
  bool Grew(const char* what, std::size_t tolerance) const {
    const Holdings now;
    if (now.bytes_ <= bytes_ + tolerance && now.files_ <= files_) return false;
    std::printf("soak: %s: memory went from %zu bytes to %zu, the open files from %td to %td\n", what, bytes_,
                now.bytes_, files_, now.files_);
    return true;
  }

 private:
  std::size_t bytes_ = mallinfo2().uordblks;
  std::ptrdiff_t files_ = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
};

/// Whether a thousand runs of one program, each button in its turn, leave more behind than some dozens did,
/// or one of them does not get its answers.
bool ManyRunsGrow() {
  constexpr int kRounds = 180;
  constexpr int kWarmUpRounds = 20;
  constexpr test::Button kRuns[] = {test::kParallel, test::kSerial, test::kInfo,
                                    test::kBoot,     test::kTo4,    test::kTo3};
  test::RunProgram program({{.number = 3, .protocol3 = true}, {.number = 5, .protocol3 = true}});
  // An image that leaves the protocol and the speed as they are.
  program.ChooseHex({":0400000001020304F2", ":042020007F004005F8", ":00000001FF"});
  program.Tick({3, 5});
  program.tool.RUD3.SetValue(CheckBox::kTicked);
  std::optional<Holdings> before;
  for (int round = 0; round < kRounds; ++round) {
    if (round == kWarmUpRounds) before.emplace();
    for (const test::Button run : kRuns) {
      (program.tool.*run).Press();
      const std::string talk = program.Talk();
      const bool repeated = talk.find('x') != std::string::npos;
      if (talk.empty() || repeated) {
        std::printf("soak: round %d: no answer: %s\n", round, talk.c_str());
        return true;
      }
      program.bus.ForgetTraffic();
      program.computer.sent.clear();
      program.computer.boxes.clear();
      program.computer.openedPorts.clear();
      program.computer.speeds.clear();
    }
  }
  return before->Grew("runs of one program", kToleranceOfRuns);
}

/// Prints the rare states that did not occur. Returns whether all occurred.
bool ReachedAll(const Counts& counts) {
  for (const char* state : kRareStates)
    if (!counts.reached.contains(state)) std::printf("soak: never reached: %s\n", state);
  return counts.reached.size() == std::size(kRareStates);
}

/// Without a number of sessions (0) it ends at a violation only.
bool Soak(std::uint64_t sessions, std::uint64_t firstSeed) {
  std::printf("soak: from seed %llu on\n", static_cast<unsigned long long>(firstSeed));
  if (ManyRunsGrow()) return false;
  Counts counts;
  std::optional<Holdings> before;
  for (std::uint64_t n = 1; sessions == 0 || n <= sessions; ++n) {
    if (!PlaySeed(firstSeed + n - 1, counts)) return false;
    if (n == kWarmUp) before.emplace();
    if (n > kWarmUp && n % 100 == 0 && before->Grew("sessions", kToleranceOfSessions)) return false;
    std::fflush(stdout);
  }
  std::printf("soak: %llu sessions with %zu runs\n", static_cast<unsigned long long>(sessions), counts.runs);
  return ReachedAll(counts) || sessions < kLongSoak;
}

}  // namespace
}  // namespace quillon::soak

int main(int argc, char** argv) {
  CLI::App app("Runs random sessions of an operator at a random line, and checks what no session may break.");
  std::uint64_t sessions = 0;
  std::uint64_t seed = std::random_device()();
  app.add_option("SESSIONS", sessions, "so many sessions; without it until the first violation");
  app.add_option("SEED", seed, "of the first session; each further one has the next seed");
  CLI11_PARSE(app, argc, argv);
  for (const int crash : {SIGALRM, SIGSEGV, SIGABRT, SIGFPE, SIGBUS, SIGILL})
    signal(crash, quillon::soak::PrintSeed);
  // Files in memory: a disk that other programs use would slow it down.
  if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 0);
  return quillon::soak::Soak(sessions, seed) ? 0 : 1;
}
