#include "bus/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>

#include "bus/grammar.h"
#include "bus/number.h"

namespace bus {
namespace {

constexpr char kGrammar[] = R"(--controller 3,KEY=VALUE,...  or several alike: --controller 0-31,KEY=VALUE,...
  baud=9600[/19200...]         its speed; several are assigned in turn
  protocol=64                  its protocol byte, decimal
  version=010203  boot=010000  bootsum=B007     in hexadecimal
  form=13|14                   bytes in the answer to $73
  bootprotocol=either|own|64   protocol byte that $75/$50 must contain
  metadata=find|2020|008B|none where images contain speed, protocol, version
  protocol3=1                  is in protocol 3: answers $73 after the text frame

--fault 3:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT]  or several: --fault 0-31:KIND...
  kinds     silent, dead (for good), late=MS, corrupt (CRC), code=XX (hex),
            length=BYTES, short[=BYTES], echo, lost-batch
  commands  check, erase, batch, checksum, boot, 55, text; without one: all
  @2        message 2 alone; @2-4, @2- from 2 on; without: every one
  %10       only every tenth or so, by the seed

--noise 12-31,0.5  half a percent at each of these; N,PERCENT for one. Controllers behind a bad
                   place of the cable suffer together: give noise to all of them.

Thirty-two at mixed speeds, number 3 answering the second $73 damaged:
  quillon-bus --link COM7 --controller 0-31,baud=4800/9600/19200/38400 \
              --fault 3:corrupt/check@2
)";

/// A check for CLI11 from a parser that throws: CLI11 expects the reason as the returned text.
CLI::Validator Checked(const std::function<void(std::string&)>& read) {
  const auto check = [read](std::string& text) -> std::string {
    try {
      read(text);
      return "";
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
  };
  return CLI::Validator(check, "");
}

/// Whole decimal numbers. CLI11's own conversion reads 010 as eight and -1 as a large seed.
template <typename Number>
CLI::Validator NumberIn(Number low, Number high) {
  return Checked([=](std::string& text) { text = std::to_string(ReadNumber(text, low, high)); });
}

/// Calls `apply` for each controller from `first` to `last`. Throws OptionError when there is none.
void ForEachNumbered(int first, int last, const std::string& option,
                     std::vector<ControllerSetup>& controllers,
                     const std::function<void(ControllerSetup&)>& apply) {
  bool found = false;
  for (ControllerSetup& controller : controllers) {
    if (controller.number < first || controller.number > last) continue;
    apply(controller);
    found = true;
  }
  if (!found)
    throw OptionError(option + ": no such controller; add it with --controller. See quillon-bus --help.");
}

void AssignFault(const std::string& text, std::vector<ControllerSetup>& controllers) {
  const FaultOption option = ReadFault(text);
  const auto apply = [&option](ControllerSetup& controller) { controller.faults.push_back(option.fault); };
  ForEachNumbered(option.first, option.last, "--fault " + text, controllers, apply);
}

/// Physical causes at some controllers. Each value is NUMBERS,PERCENT.
constexpr struct {
  const char* name;
  double Disturbance::*member;
  const char* help;
} kDisturbances[] = {
    {"--noise", &Disturbance::noise, "bytes from and to them are damaged, as by a motor at the cable"},
    {"--reflections", &Disturbance::reflections,
     "bytes after the eighth of a frame are damaged: no terminator"},
    {"--slow-clock", &Disturbance::slowClock,
     "their clock is slow (50 at most): more damage at higher speeds"},
    {"--lost-start", &Disturbance::lostStart,
     "answers lose their first byte: the driver is enabled too late"},
};

/// The values of the options for physical causes.
struct Causes {
  std::vector<std::string> disturbances[std::size(kDisturbances)];
  std::vector<int> doubled;
  int idleInterval = 0;
  int latency = 0;
};

void AddCauseOptions(CLI::App& app, Causes& causes) {
  const auto add = [&app](const char* name, auto& target, const char* type, const char* help) {
    return app.add_option(name, target, help)->type_name(type)->group("Physical causes");
  };
  for (std::size_t i = 0; i < std::size(kDisturbances); ++i)
    add(kDisturbances[i].name, causes.disturbances[i], "N,PERCENT", kDisturbances[i].help)
        ->take_all()
        ->allow_extra_args(false)
        ->check(Checked(ReadShare));
  add("--double", causes.doubled, "N", "a second controller has the number N and answers at the same time")
      ->take_all()
      ->allow_extra_args(false)
      ->transform(NumberIn(0, kControllerNumbers - 1));
  add("--weak-bias", causes.idleInterval, "MS", "the idle line makes a byte of its own every MS on average")
      ->transform(NumberIn(1, kLongestWait));
  add("--latency", causes.latency, "MS", "the adapter passes received bytes on only every MS (often 16)")
      ->transform(NumberIn(1, kLongestWait));
}

void ApplyCauses(const Causes& causes, Options& options) {
  for (std::size_t i = 0; i < std::size(kDisturbances); ++i)
    for (const std::string& text : causes.disturbances[i]) {
      const Share share = ReadShare(text);
      const auto apply = [&](ControllerSetup& setup) {
        setup.disturbance.*kDisturbances[i].member = share.fraction;
      };
      ForEachNumbered(share.first, share.last, kDisturbances[i].name + (" " + text), options.controllers,
                      apply);
    }
  for (const int number : causes.doubled) {
    ControllerSetup second;
    const auto copy = [&](const ControllerSetup& setup) { second = setup; };
    ForEachNumbered(number, number, "--double " + std::to_string(number), options.controllers, copy);
    for (std::uint8_t& part : second.version) part ^= 0x55;  // another version, so that the answers differ
    options.controllers.push_back(second);
  }
  options.line.idleInterval = std::chrono::milliseconds(causes.idleInterval);
  options.line.latency = std::chrono::milliseconds(causes.latency);
}

/// The controllers of --count, without those that a --controller describes, and then the described ones.
std::vector<ControllerSetup> AllControllers(int count, const std::vector<std::string>& texts) {
  std::vector<ControllerSetup> described;
  for (const std::string& text : texts)
    for (const ControllerSetup& setup : ReadControllers(text)) described.push_back(setup);
  std::vector<ControllerSetup> all;
  for (int number = 0; number < count; ++number) {
    const auto sameNumber = [number](const ControllerSetup& setup) { return setup.number == number; };
    if (std::none_of(described.begin(), described.end(), sameNumber)) all.push_back({.number = number});
  }
  all.insert(all.end(), described.begin(), described.end());
  return all;
}

}  // namespace

Options ParseOptions(std::span<const std::string> arguments) {
  Options options;
  int count = 0;
  std::vector<std::string> controllers;
  std::vector<std::string> faults;
  Causes causes;
  std::pair<int, int> unplug;
  int delay = 5;
  bool quick = false;

  CLI::App app("Simulated controllers on a pseudo-terminal; prints where it is, runs until ended.",
               "quillon-bus");
  app.footer(kGrammar);
  app.set_help_flag("--help", "this text");
  app.option_defaults()->take_last();
  const auto add = [&app](const char* name, auto& target, const char* type, const char* help) {
    return app.add_option(name, target, help)->type_name(type);
  };
  const auto* counted = add("--count", count, "N", "controllers 0 to N-1 at 9600 (0: an empty line)")
                            ->transform(NumberIn(0, kControllerNumbers));
  add("--controller", controllers, "N,...",
      "a controller with settings of its own, instead of that of --count; see below")
      ->take_all()
      ->allow_extra_args(false)
      ->check(Checked(ReadControllers));
  add("--fault", faults, "N:...", "what goes wrong at a controller, and when; see below")
      ->take_all()
      ->allow_extra_args(false)
      ->check(Checked(ReadFault));
  add("--seed", options.line.seed, "N", "of all that happens by chance (printed at the start)")
      ->transform(NumberIn<std::uint64_t>(0, UINT64_MAX));
  const auto* unplugged =
      add("--unplug", unplug, "FRAMES,MS", "cable off after so many frames, back after MS")
          ->delimiter(',')
          ->transform(NumberIn(1, kLongestWait));
  add("--link", options.link, "PATH", "lay a link, such as bin/COM7; removed at the end");
  add("--download-baud", options.line.downloadBaud, "BAUD",
      "where controllers listen after $74 with $AA (9600)")
      ->transform(NumberIn(1, kHighestSpeed));
  add("--delay", delay, "MS", "from a frame to its answer (5)")->transform(NumberIn(0, kLongestWait));
  app.add_flag("--echo", options.line.echo, "the adapter echoes what the tool sends");
  app.add_flag("--quick", quick, "bytes take no time (the delay stays)");
  add("--log", options.logFile, "FILE", "every frame with time, speed and direction");
  AddCauseOptions(app, causes);
  app.set_version_flag("--version", "quillon-bus " QUILLON_VERSION "\n", "which version this is");
  app.add_flag("--verbose", options.verbose, "the same on the standard output");
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // it takes the last first
  } catch (const CLI::CallForHelp&) {
    options.answer = app.help();
    return options;
  } catch (const CLI::CallForVersion& version) {
    options.answer = version.what();
    return options;
  } catch (const CLI::ParseError& error) {
    throw OptionError(std::string(error.what()) + ". See quillon-bus --help.");
  }
  if (counted->empty() && controllers.empty())
    throw OptionError("No controllers: give --count N or --controller N. See quillon-bus --help.");
  options.controllers = AllControllers(count, controllers);
  for (const std::string& text : faults) AssignFault(text, options.controllers);
  ApplyCauses(causes, options);
  options.line.answerDelay = std::chrono::milliseconds(delay);
  options.line.paced = !quick;
  if (!unplugged->empty()) options.unplug = {unplug.first, std::chrono::milliseconds(unplug.second)};
  return options;
}

}  // namespace bus
