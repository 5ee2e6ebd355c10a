// quillon-soak runs random sessions of an operator and checks the rules that no session may break: see
// kDescription. The first session that breaks one is repeated with fewer and fewer steps, and the steps that
// it needs are printed.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <random>

#include "command_line/manual_formatter.h"
#include "live_memory.h"
#include "session.h"
#include "shell/start_stop.h"

namespace {

using namespace quillon::soak;

constexpr unsigned kLongestSession = 60;   // seconds of real time
constexpr std::size_t kWarmUp = 300;       // sessions
constexpr std::size_t kLongSoak = 8000;    // sessions, in which each rare state must occur
constexpr std::size_t kSoundTrial = 1000;  // sessions, for the shares of what happened to be sound
// Memory that may come beside that of the warm-up: a text here or there is longer.
constexpr std::size_t kLevelBlocks = 20;
constexpr std::size_t kLevelBytes = 16'384;

std::uint64_t currentSeed = 0;
Counts counts;

/// A crash or a hang names its seed; nothing else can be done here.
void NameSeed(int signal) {
  char text[120];
  const int length =
      std::snprintf(text, sizeof text, "soak: seed %llu: %s\n", static_cast<unsigned long long>(currentSeed),
                    signal == SIGALRM ? "hangs without waiting" : "crashes");
  constexpr int kCrashed = 1;
  constexpr int kSilent = 3;  // not even the seed could be printed
  _exit(write(STDERR_FILENO, text, static_cast<std::size_t>(length)) < 0 ? kSilent : kCrashed);
}

std::string Play(const Scenario& scenario) {
  currentSeed = scenario.seed;
  alarm(kLongestSession);
  try {
    Session session(scenario);
    const std::string broken = session.Play();
    counts += session.Counted();
    return broken;
  } catch (const std::exception& error) {
    return std::string("exception: ") + error.what();
  }
}

std::string KindOf(const std::string& broken) { return broken.substr(0, broken.find(':')); }

/// Leaves out steps, many at once and then one by one, as long as the same thing still breaks.
Scenario Shrink(Scenario scenario, const std::string& broken) {
  for (std::size_t count = scenario.steps.size(); count > 0; count /= 2) {
    for (std::size_t from = 0; from < scenario.steps.size();) {
      Scenario shorter = scenario;
      const auto begin = shorter.steps.begin() + static_cast<std::ptrdiff_t>(from);
      const auto left = static_cast<std::size_t>(shorter.steps.end() - begin);
      shorter.steps.erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, left)));
      if (KindOf(Play(shorter)) == KindOf(broken)) {
        scenario = shorter;
      } else {
        from += count;
      }
    }
  }
  return scenario;
}

void Tell(const Scenario& scenario, const std::string& broken) {
  std::printf("soak: seed %llu: %s\n", static_cast<unsigned long long>(scenario.seed), broken.c_str());
  const Scenario shortest = Shrink(scenario, broken);
  std::printf("%zu of %zu steps are needed:\n", shortest.steps.size(), scenario.steps.size());
  for (const Step& step : shortest.steps) {
    std::printf("%10.3f s  %s\n", std::chrono::duration<double>(step.at).count(), step.words.c_str());
  }
  std::printf("To play it alone: scripts/soak 1 %llu\n", static_cast<unsigned long long>(scenario.seed));
}

/// Returns false when something was broken, which is printed.
bool PlaySeed(std::uint64_t seed) {
  const Scenario scenario = Invent(seed);
  const std::string broken = Play(scenario);
  if (!broken.empty()) Tell(scenario, broken);
  return broken.empty();
}

struct Used {
  std::size_t blocks;
  std::size_t bytes;
  std::ptrdiff_t files;
};
Used Measure() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return {liveBlocks, liveBytes, std::distance(begin(files), end(files))};
}

/// Whether what the process holds has grown; says so.
bool Grew(const char* what, const Used& before) {
  const Used now = Measure();
  if (now.blocks <= before.blocks + kLevelBlocks && now.bytes <= before.bytes + kLevelBytes &&
      now.files <= before.files) {
    return false;
  }
  std::printf(
      "soak: %s: memory went from %zu blocks, %zu bytes to %zu, %zu; the open files from %td to %td\n", what,
      before.blocks, before.bytes, now.blocks, now.bytes, before.files, now.files);
  return true;
}

constexpr Button kEachRun[] = {&quillon::Quillon::ComLoad, &quillon::Quillon::ComLoad00,
                               &quillon::Quillon::ComInfo, &quillon::Quillon::ComBoot,
                               &quillon::Quillon::Cmd3to4, &quillon::Quillon::Cmd4to3};

/// A run of controllers 3 and 5, which answer, and 9, which is not there; that would end a parallel download.
/// Whether the rows tell it, where a run fills any.
bool PlayRun(Session& session, Button run) {
  quillon::Quillon& tool = session.tool;
  const bool withSilent = run != &quillon::Quillon::ComLoad;
  tool.C(9).SetValue(withSilent);
  tool.info.Close();  // with the rows of the run before
  (tool.*run).Press();
  const std::size_t frames = session.computer.sent.size();
  session.bus.ForgetTraffic();
  session.computer.sent.clear();
  session.computer.boxes.clear();
  session.computer.openedPorts.clear();
  session.computer.speeds.clear();
  if (run == &quillon::Quillon::Cmd3to4 || run == &quillon::Quillon::Cmd4to3) return frames >= 3;
  const auto holds = [&](int y) { return tool.info.Ver(y).Text().find('/') != std::string::npos; };
  return holds(3) && holds(5) && (tool.info.Ver(9).Text() == "No") == withSilent;
}

/// Whether a thousand runs of one program, each button in its turn, leave more behind than some dozens did.
bool ManyRunsGrow() {
  constexpr std::size_t kRounds = 180;
  constexpr std::size_t kWarmUpRounds = 20;
  Scenario scenario = Invent(2);  // whose image leaves protocol and speed as they are
  scenario.steps.clear();
  scenario.line = {.downloadBaud = scenario.line.downloadBaud};
  scenario.controllers = {{.number = 3, .protocol3 = true}, {.number = 5, .protocol3 = true}};
  Session session(scenario);
  Start(session.tool);
  session.Choose("a.hex");
  session.tool.NONE.Press();
  session.tool.Text1.SetText("50");
  session.tool.Protocol.SetText("63");
  session.tool.RUD3.SetValue(1);
  for (const int number : {3, 5}) session.tool.C(number).SetValue(1);
  Used before{};
  for (std::size_t round = 0; round < kRounds; ++round) {
    if (round == kWarmUpRounds) before = Measure();
    for (const Button run : kEachRun) {
      if (PlayRun(session, run)) continue;
      std::printf("soak: round %zu: %s does not do its work\n", round, (session.tool.*run).Name().c_str());
      return true;
    }
  }
  return Grew("1,000 runs of one program", before);
}

/// Whether so much less happened than in the sessions of a sound trial that it proves nothing; says so.
bool WasIdle(std::size_t sessions) {
  const std::size_t least = sessions / 4;
  if (std::min({counts.goodRows, counts.cancelled, counts.failed}) >= least) return false;
  std::printf("soak: after %zu sessions %zu good rows, %zu cancelled and %zu failed runs: each must be %zu\n",
              sessions, counts.goodRows, counts.cancelled, counts.failed, least);
  return true;
}

/// Names the rare states that did not occur. Returns whether a soak of that length had to reach them.
bool MissedStates(std::size_t sessions) {
  bool missed = false;
  for (std::size_t i = 0; i < counts.reached.size(); ++i) {
    if (counts.reached[i] > 0) continue;
    std::printf("soak: never reached: %s\n", NameOf(static_cast<Probe>(i)));
    missed = true;
  }
  return missed && sessions >= kLongSoak;
}

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-soak [OPTION]... [SESSIONS [SEED]]

DESCRIPTION
  Runs random sessions of an operator with a random line, in virtual time, and
  checks after each step the rules that no session may break. It runs SESSIONS
  sessions, or until it is stopped, beginning with SEED, or with a random seed.
  The seed of a session that breaks a rule runs it again:

    soak: seed 17: ...
    To play it alone: scripts/soak 1 17
)";

constexpr char kFooter[] = R"(EXIT STATUS
  0   no session broke a rule
  1   a session broke a rule, crashed or did not end (3: and its seed cannot be
      printed)
  2   a word of the command line is not valid

EXAMPLES
  quillon-soak 1000
  quillon-soak 1 17
)";

struct Options {
  std::uint64_t sessions = 0;  // 0: until it is stopped
  std::optional<std::uint64_t> seed;
};

/// The status to exit with at once: the help was printed, or a word is not valid.
std::optional<int> ParseOptions(int argc, char** argv, Options& options) {
  constexpr int kUsage = 2;
  CLI::App app(kDescription, "quillon-soak");
  app.formatter(std::make_shared<quillon::ManualFormatter>());
  app.footer(kFooter);
  app.add_option("SESSIONS", options.sessions);
  app.add_option("SEED", options.seed);
  app.set_help_flag("-h,--help", "print this text");
  app.set_version_flag("--version", "quillon-soak " QUILLON_VERSION, "print the version");
  try {
    app.parse(argc, argv);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (const auto status = ParseOptions(argc, argv, options)) return *status;
  for (const int crash : {SIGALRM, SIGSEGV, SIGABRT, SIGFPE, SIGBUS, SIGILL}) signal(crash, NameSeed);
  // Files in memory: a disk that others use would set the pace.
  if (std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 0);
  const std::uint64_t sessions = options.sessions;
  std::uint64_t seed = options.seed ? *options.seed : std::random_device()();
  std::printf("soak: from seed %llu on\n", static_cast<unsigned long long>(seed));
  if (ManyRunsGrow()) return 1;
  Used before{};
  for (std::size_t n = 1; sessions == 0 || n <= sessions; ++n, ++seed) {
    if (!PlaySeed(seed)) return 1;
    if (n == kWarmUp) before = Measure();
    if (n > kWarmUp && n % 100 == 0 && Grew("sessions", before)) return 1;
    if (n % kSoundTrial == 0 && WasIdle(n)) return 1;
    if (sessions == 0 && n % kSoundTrial == 0) std::printf("soak: %zu sessions\n", n);
    std::fflush(stdout);
  }
  std::printf("soak: %zu sessions, %zu runs, %zu frames, %zu cancelled, %zu with a failure, %zu good rows\n",
              sessions, counts.runs, counts.frames, counts.cancelled, counts.failed, counts.goodRows);
  return MissedStates(sessions) ? 1 : 0;
}
