// Parses the command line of quillon-bus. The texts of --help below document the program. CLI11 parses the
// options; the values of --controller, --fault and of the physical causes have a grammar of their own
// (grammar.h). They are checked while CLI11 parses. Afterwards they are read again and applied, because a
// fault can be given before its controller.
#include "bus/options.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "bus/grammar.h"
#include "bus/number.h"
#include "tools/command_line/program.h"

namespace bus {
namespace {

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-bus [OPTION]... --count N
  quillon-bus [OPTION]... --controller N[,KEY=VALUE]...

DESCRIPTION
  Simulates a serial bus with controllers on a pseudo-terminal, for
  training and tests. It prints the path of the pseudo-terminal and runs
  until it is ended, for example with Ctrl-C. With --link FOLDER/COM7 it is
  the port COM 7 of the Quillon programs in that folder.

  Without further options the controllers work without error at 9600 bits
  per second. --fault simulates an error of a controller. The physical
  causes damage bytes at random, as a bad line does; the same --seed
  damages the same bytes.
)";

constexpr char kFooter[] = R"(CONTROLLERS
  --controller 3,KEY=VALUE,... describes controller 3; --controller
  0-31,... describes 32 controllers of one kind. The keys are:

    baud=9600[/19200...]     speed; several speeds are assigned in turn
    protocol=64              protocol byte, decimal
    version=010203           version of the firmware, hexadecimal
    boot=010000              version of the boot code, hexadecimal
    bootsum=B007             checksum of the boot code, hexadecimal
    form=13|14               number of bytes in the answer to $73
    bootprotocol=either|own|64
                             protocol byte that $75/$50 must contain
    metadata=find|2020|008B|none
                             address, in a loaded image, of its speed,
                             protocol and version; find: where it has
                             them; none: an image changes none of these
    protocol3=1              is in protocol 3: answers $73 after the text
                             frame

FAULTS
  --fault N:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT], where N is a
  number or a range such as 0-31:

    KIND       silent, dead (silent for good), late=MS, corrupt (wrong
               CRC), code=XX (answers this code, hexadecimal),
               length=BYTES (an intact answer of this length),
               short[=BYTES] (an answer that ends early), echo (the
               question instead of an answer), lost-batch
    COMMAND    check, erase, batch, checksum, boot, 55, text; all when
               omitted
    @2         message 2 only; @2-4: messages 2 to 4; @2-: from message 2
               on
    %10        one message in ten on average

EXIT STATUS
  0   the program was ended
  1   a file, the link or the pseudo-terminal cannot be used
  2   an option is not valid

EXAMPLES
  Four controllers on COM 7 of the Quillon in ~/.local/share/quillon:

    $ cd ~/.local/share/quillon
    $ quillon-bus --count 4 --link COM7
    bus: COM7 -> /dev/pts/2 (4 controllers, seed 1)

  32 controllers at mixed speeds; number 3 damages its second $73 answer:

    quillon-bus --link COM7 --controller 0-31,baud=4800/9600/19200/38400 \
        --fault 3:corrupt/check@2

  Noise that damages half a percent of the bytes of controllers 12 to 31,
  which are behind a bad place of the cable:

    quillon-bus --link COM7 --count 32 --noise 12-31,0.5
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

/// Whole decimal numbers. CLI11's own conversion would read 010 as octal 8, and -1 as a very large number.
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
    {"--noise", &Disturbance::noise,
     "damages bytes from and to these controllers, as a motor beside the cable does"},
    {"--reflections", &Disturbance::reflections,
     "damages bytes after the eighth of a frame, as a missing terminator does"},
    {"--slow-clock", &Disturbance::slowClock,
     "the clock of these controllers is slow by PERCENT, 50 at most: damages more bytes at higher speeds"},
    {"--lost-start", &Disturbance::lostStart,
     "the line driver is switched on too late: answers lose their first byte"},
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
  add("--double", causes.doubled, "N", "a second controller with the number N answers at the same time")
      ->take_all()
      ->allow_extra_args(false)
      ->transform(NumberIn(0, kControllerNumbers - 1));
  add("--weak-bias", causes.idleInterval, "MS",
      "the bias is too weak: the idle line produces a byte every MS milliseconds on average")
      ->transform(NumberIn(1, kLongestWait));
  add("--latency", causes.latency, "MS",
      "the adapter passes received bytes on every MS milliseconds; real ones often use 16")
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

/// All controllers: first those of --count that no --controller describes, then those of --controller.
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

/// The values that are not stored in `Options` as they are given.
struct GivenValues {
  int count = 0;
  std::vector<std::string> controllers;
  std::vector<std::string> faults;
  Causes causes;
  std::pair<int, int> unplug;  // frames, milliseconds
  int delay = 5;
  bool quick = false;
};

void AddOptions(CLI::App& app, GivenValues& given, Options& options) {
  const auto add = [&app](const char* name, auto& target, const char* type, const char* help) {
    return app.add_option(name, target, help)->type_name(type);
  };
  add("--count", given.count, "N", "simulate the controllers 0 to N-1; 0: an empty line")
      ->transform(NumberIn(0, kControllerNumbers));
  add("--controller", given.controllers, "N,...",
      "describe a controller, see CONTROLLERS; it replaces the one of --count")
      ->take_all()
      ->allow_extra_args(false)
      ->check(Checked(ReadControllers));
  add("--fault", given.faults, "N:...", "simulate an error of a controller, see FAULTS")
      ->take_all()
      ->allow_extra_args(false)
      ->check(Checked(ReadFault));
  add("--seed", options.line.seed, "N", "seed of the random numbers (1)")
      ->transform(NumberIn<std::uint64_t>(0, UINT64_MAX));
  add("--unplug", given.unplug, "FRAMES,MS",
      "unplug the cable after so many frames, and plug it in MS milliseconds later")
      ->delimiter(',')
      ->transform(NumberIn(1, kLongestWait));
  add("--link", options.link, "PATH", "make a symbolic link to the pseudo-terminal, removed at the end");
  add("--download-baud", options.line.downloadBaud, "BAUD",
      "speed of a controller after an erase with $AA (9600)")
      ->transform(NumberIn(1, kHighestSpeed));
  add("--delay", given.delay, "MS", "milliseconds from a frame to its answer (5)")
      ->transform(NumberIn(0, kLongestWait));
  app.add_flag("--echo", options.line.echo, "the adapter returns what it sends");
  app.add_flag("--quick", given.quick,
               "transmit bytes without the time they need on a real line; --delay still applies");
  add("--log", options.logFile, "FILE", "write every frame with time, speed and direction to a file");
  app.add_flag("--verbose", options.verbose, "print every frame as --log writes it");
  AddCauseOptions(app, given.causes);
}

/// Completes `options` by the given values.
void Apply(const GivenValues& given, Options& options) {
  options.controllers = AllControllers(given.count, given.controllers);
  for (const std::string& fault : given.faults) AssignFault(fault, options.controllers);
  ApplyCauses(given.causes, options);
  options.line.answerDelay = std::chrono::milliseconds(given.delay);
  options.line.paced = !given.quick;
}

}  // namespace

Options ParseOptions(std::span<const std::string> arguments) {
  Options options;
  GivenValues given;
  quillon::CommandLine app("quillon-bus", kDescription, kFooter);
  app.AddHelp(QUILLON_VERSION "\n");
  app.option_defaults()->take_last();
  AddOptions(app, given, options);
  try {
    app.parse(
        std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // CLI11 expects the last one first
  } catch (const CLI::CallForHelp&) {
    options.textToPrint = app.help();
    return options;
  } catch (const CLI::CallForVersion& version) {
    options.textToPrint = version.what();
    return options;
  } catch (const CLI::ParseError& error) {
    throw OptionError(std::string(error.what()) + ". See quillon-bus --help.");
  }
  if (app.count("--count") == 0 && given.controllers.empty())
    throw OptionError("No controllers: give --count N or --controller N. See quillon-bus --help.");
  Apply(given, options);
  if (app.count("--unplug") != 0)
    options.unplug = {given.unplug.first, std::chrono::milliseconds(given.unplug.second)};
  return options;
}

}  // namespace bus
