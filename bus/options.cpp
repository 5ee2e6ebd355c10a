#include "bus/options.h"

#include <charconv>
#include <functional>
#include <limits>
#include <map>
#include <string_view>
#include <utility>

namespace bus {
namespace {

constexpr int kHighestSpeed = 10'000'000;  // bits per second
constexpr int kLongestWait = 3'600'000;    // ms

/// One text of the command line on its way through the parser; knows which option to name in an error.
struct Source {
  std::string option{};
  std::string text{};

  [[noreturn]] void Fail(const std::string& reason) const {
    throw OptionError(option + " " + text + ": " + reason + ". See quillon-bus --help.");
  }
};

/// Cuts off and returns what stands before `mark`; all of `text`, which is then empty, when there is none.
std::string_view CutAt(std::string_view& text, char mark) {
  const std::size_t at = text.find(mark);
  const std::string_view head = text.substr(0, at);
  text = at == std::string_view::npos ? std::string_view{} : text.substr(at + 1);
  return head;
}

/// Cuts off and returns what stands behind `mark`; nothing when there is none.
std::optional<std::string_view> CutTail(std::string_view& text, char mark) {
  const std::size_t at = text.find(mark);
  if (at == std::string_view::npos) return std::nullopt;
  const std::string_view tail = text.substr(at + 1);
  text = text.substr(0, at);
  return tail;
}

template <typename Number>
Number ReadNumber(const Source& source, std::string_view text, const char* what, Number low, Number high,
                  int base = 10) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error == std::errc{} && end == text.data() + text.size() && number >= low && number <= high)
    return number;
  const auto bound = [base](Number value) {
    char digits[24];
    const auto written = std::to_chars(digits, digits + sizeof digits, value, base);
    return std::string(digits, written.ptr);
  };
  source.Fail(std::string(what) + " has to be a " + (base == 16 ? "hexadecimal " : "") + "number from " +
              bound(low) + " to " + bound(high));
}

template <typename Value>
Value ReadWord(const Source& source, std::string_view text, const char* what,
               const std::map<std::string_view, Value>& words) {
  const auto word = words.find(text);
  if (word != words.end()) return word->second;
  std::string known;
  for (const auto& [name, value] : words) known += (known.empty() ? "" : ", ") + std::string(name);
  source.Fail(std::string(what) + " has to be one of: " + known);
}

struct Range {
  int first;
  int last;
};

/// "7" or "3-7".
Range ReadRange(const Source& source, std::string_view text, const char* what, int low, int high) {
  const std::optional<std::string_view> end = CutTail(text, '-');
  const int first = ReadNumber(source, text, what, low, high);
  return {first, end ? ReadNumber(source, *end, what, first, high) : first};
}

std::array<std::uint8_t, 3> ReadVersion(const Source& source, std::string_view text) {
  if (text.size() != 6) source.Fail("a version has to be six hexadecimal digits");
  const int value = ReadNumber(source, text, "a version", 0, 0xFFFFFF, 16);
  return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8 & 0xFF),
          static_cast<std::uint8_t>(value & 0xFF)};
}

std::vector<int> ReadSpeeds(const Source& source, std::string_view text) {
  std::vector<int> speeds;
  while (!text.empty()) speeds.push_back(ReadNumber(source, CutAt(text, '/'), "baud", 1, kHighestSpeed));
  if (speeds.empty()) source.Fail("baud needs a speed, or several with / between them");
  return speeds;
}

void ReadControllerKey(const Source& source, std::string_view key, std::string_view value,
                       ControllerSetup& setup) {
  static const std::map<std::string_view, AnswerForm> kForms = {{"13", AnswerForm::Bytes13},
                                                                {"14", AnswerForm::Bytes14}};
  static const std::map<std::string_view, BootProtocol> kBootProtocols = {
      {"either", BootProtocol::Either}, {"own", BootProtocol::Own}, {"64", BootProtocol::Fixed}};
  static const std::map<std::string_view, Metadata> kPlaces = {{"find", Metadata::Find},
                                                               {"2020", Metadata::At2020},
                                                               {"008B", Metadata::At008B},
                                                               {"none", Metadata::None}};
  if (key == "protocol") {
    setup.protocol = static_cast<std::uint8_t>(ReadNumber(source, value, "protocol", 0, 255));
  } else if (key == "version") {
    setup.version = ReadVersion(source, value);
  } else if (key == "boot") {
    setup.bootVersion = ReadVersion(source, value);
  } else if (key == "bootsum") {
    setup.bootChecksum = static_cast<std::uint16_t>(ReadNumber(source, value, "bootsum", 0, 0xFFFF, 16));
  } else if (key == "form") {
    setup.form = ReadWord(source, value, "form", kForms);
  } else if (key == "bootprotocol") {
    setup.bootProtocol = ReadWord(source, value, "bootprotocol", kBootProtocols);
  } else if (key == "metadata") {
    setup.metadata = ReadWord(source, value, "metadata", kPlaces);
  } else if (key == "protocol3") {
    setup.protocol3 = ReadNumber(source, value, "protocol3", 0, 1) == 1;
  } else {
    source.Fail(
        "no key \"" + std::string(key) +
        "\"; there are baud, protocol, version, boot, bootsum, form, bootprotocol, metadata, protocol3");
  }
}

/// "3,baud=19200,protocol=64" or "0-31,baud=4800/9600": speeds are dealt out in turn.
void ReadControllers(const Source& source, std::vector<ControllerSetup>& controllers) {
  std::string_view rest = source.text;
  const Range numbers = ReadRange(source, CutAt(rest, ','), "the number", 0, kControllerNumbers - 1);
  ControllerSetup setup;
  std::vector<int> speeds = {setup.baud};
  while (!rest.empty()) {
    std::string_view key = CutAt(rest, ',');
    const std::string_view value = CutTail(key, '=').value_or("");
    if (key == "baud") {
      speeds = ReadSpeeds(source, value);
    } else {
      ReadControllerKey(source, key, value, setup);
    }
  }
  for (int number = numbers.first; number <= numbers.last; ++number) {
    setup.number = number;
    setup.baud = speeds[static_cast<std::size_t>(number - numbers.first) % speeds.size()];
    controllers.push_back(setup);
  }
}

void ReadFaultKind(const Source& source, std::string_view kind, std::optional<std::string_view> value,
                   Fault& fault) {
  static const std::map<std::string_view, Fault::Kind> kKinds = {
      {"silent", Fault::Kind::Silent},   {"dead", Fault::Kind::Dead}, {"late", Fault::Kind::Late},
      {"corrupt", Fault::Kind::Corrupt}, {"code", Fault::Kind::Code}, {"length", Fault::Kind::Length},
      {"short", Fault::Kind::Short},     {"echo", Fault::Kind::Echo}, {"lost-batch", Fault::Kind::Silent}};
  fault.kind = ReadWord(source, kind, "the kind", kKinds);
  if (kind == "lost-batch") fault.command = Command::Batch;
  const std::string_view text = value.value_or("");
  switch (fault.kind) {
    case Fault::Kind::Late:
      fault.delay = std::chrono::milliseconds(ReadNumber(source, text, "late=MS", 1, kLongestWait));
      break;
    case Fault::Kind::Code:
      fault.value = ReadNumber(source, text, "code=XX", 0, 0xFF, 16);
      break;
    case Fault::Kind::Length:
      fault.value = ReadNumber(source, text, "length=BYTES", kShortestFrame, kLongestFrame);
      break;
    case Fault::Kind::Short:
      fault.value = value ? ReadNumber(source, text, "short=BYTES", 1, kLongestFrame) : 1;
      break;
    default:
      if (value) source.Fail(std::string(kind) + " takes no value");
  }
}

/// "NUMBER[-NUMBER]:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT]"
void ReadFault(const Source& source, std::vector<ControllerSetup>& controllers) {
  static const std::map<std::string_view, Command> kCommands = {
      {"check", Command::Check},       {"erase", Command::Erase}, {"batch", Command::Batch},
      {"checksum", Command::Checksum}, {"boot", Command::Boot},   {"55", Command::ToProtocol3},
      {"text", Command::ToProtocol4}};
  std::string_view rest = source.text;
  const Range numbers = ReadRange(source, CutAt(rest, ':'), "the number", 0, kControllerNumbers - 1);
  Fault fault;
  const auto percent = CutTail(rest, '%');
  const auto when = CutTail(rest, '@');
  const auto command = CutTail(rest, '/');
  const auto value = CutTail(rest, '=');
  if (percent) fault.chance = ReadNumber(source, *percent, "%PERCENT", 1, 100) / 100.0;
  if (command) fault.command = ReadWord(source, *command, "the command", kCommands);
  ReadFaultKind(source, rest, value, fault);
  if (when && when->ends_with('-')) {
    fault.first =
        ReadNumber(source, when->substr(0, when->size() - 1), "@FIRST-", 1, std::numeric_limits<int>::max());
  } else if (when) {
    const Range struck = ReadRange(source, *when, "@FIRST-LAST", 1, std::numeric_limits<int>::max());
    fault.first = struck.first;
    fault.last = struck.last;
  }
  bool found = false;
  for (ControllerSetup& controller : controllers) {
    if (controller.number < numbers.first || controller.number > numbers.last) continue;
    controller.faults.push_back(fault);
    found = true;
  }
  if (!found) source.Fail("no such controller; add it with --controller");
}

Unplug ReadUnplug(const Source& source) {
  std::string_view rest = source.text;
  const int frames =
      ReadNumber(source, CutAt(rest, ','), "the number of frames", 1, std::numeric_limits<int>::max());
  return {frames, std::chrono::milliseconds(ReadNumber(source, rest, "the time away (ms)", 1, kLongestWait))};
}

using Reader = std::function<void(const Source&)>;

/// The options that take a value. Faults are put aside: they may stand ahead of their controllers.
std::map<std::string_view, Reader> ValueReaders(Options& options, std::vector<Source>& faults) {
  return {
      {"--controller", [&](const Source& source) { ReadControllers(source, options.controllers); }},
      {"--count",
       [&](const Source& source) {
         const int count = ReadNumber(source, source.text, "the count", 0, kControllerNumbers);
         if (count > 0) ReadControllers({"--count", "0-" + std::to_string(count - 1)}, options.controllers);
       }},
      {"--fault", [&](const Source& source) { faults.push_back(source); }},
      {"--link", [&](const Source& source) { options.link = source.text; }},
      {"--log", [&](const Source& source) { options.logFile = source.text; }},
      {"--delay",
       [&](const Source& source) {
         options.line.answerDelay =
             std::chrono::milliseconds(ReadNumber(source, source.text, "the delay (ms)", 0, kLongestWait));
       }},
      {"--download-baud",
       [&](const Source& source) {
         options.line.downloadBaud = ReadNumber(source, source.text, "the speed", 1, kHighestSpeed);
       }},
      {"--seed",
       [&](const Source& source) {
         options.line.seed = ReadNumber<std::uint64_t>(source, source.text, "the seed", 0,
                                                       std::numeric_limits<std::uint64_t>::max());
       }},
      {"--unplug", [&](const Source& source) { options.unplug = ReadUnplug(source); }},
  };
}

bool* Switch(Options& options, std::string_view name) {
  if (name == "--help") return &options.help;
  if (name == "--verbose") return &options.verbose;
  if (name == "--echo") return &options.line.echo;
  return nullptr;
}

}  // namespace

const char* HelpText() {
  return R"(quillon-bus: simulated controllers on a pseudo-terminal; prints where to reach it, runs until ended.

  --count N                  controllers 0 to N-1 at 9600 (0: an empty line)
  --controller N[-M][,KEY=VALUE...]          one controller, or several alike
      baud=9600[/19200...]   its speed; several are dealt out in turn
      protocol=64            its protocol byte, decimal
      version=010203  boot=010000  bootsum=B007  in hexadecimal
      form=13|14             bytes in the answer to $73
      bootprotocol=either|own|64   protocol byte that $75/$50 has to carry
      metadata=find|2020|008B|none  where images tell speed, protocol, version
      protocol3=1            stands in protocol 3: answers $73 after the text frame
  --fault N[-M]:KIND[=VALUE][/COMMAND][@FIRST[-[LAST]]][%PERCENT]
      kinds     silent, dead (for good), late=MS, corrupt (CRC), code=XX (hex),
                length=BYTES, short[=BYTES], echo, lost-batch
      commands  check, erase, batch, checksum, boot, 55, text; without: all
      @2 message 2 alone, @2-4, @2- from 2 on; without: every one
      %10           only every tenth or so, by the seed
  --seed N                   of the faults by chance (printed at the start)
  --unplug FRAMES,MS         cable off after so many frames, back after MS
  --link PATH                lay a link, such as bin/COM7; removed at the end
  --download-baud 9600       where controllers listen after $74 with $AA
  --delay 5                  ms from a frame to its answer
  --echo                     the adapter echoes what the tool sends
  --quick                    bytes take no time (the delay stays)
  --log FILE, --verbose      every frame with time, speed and direction

Thirty-two at mixed speeds, number 3 answering the second $73 damaged:
  quillon-bus --link COM7 --controller 0-31,baud=4800/9600/19200/38400 \
              --fault 3:corrupt/check@2
)";
}

Options ParseOptions(std::span<const std::string> arguments) {
  Options options;
  std::vector<Source> faults;
  const auto readers = ValueReaders(options, faults);
  bool controllersNamed = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& name = arguments[i];
    if (bool* flag = Switch(options, name)) {
      *flag = true;
      continue;
    }
    if (name == "--quick") {
      options.line.paced = false;
      continue;
    }
    const auto reader = readers.find(name);
    if (reader == readers.end()) throw OptionError(name + ": no such option. See quillon-bus --help.");
    if (++i == arguments.size()) throw OptionError(name + ": a value is missing. See quillon-bus --help.");
    reader->second({name, arguments[i]});
    if (name == "--count" || name == "--controller") controllersNamed = true;
  }
  for (const Source& fault : faults) ReadFault(fault, options.controllers);
  if (!controllersNamed && !options.help)
    throw OptionError("No controllers: give --count N or --controller N. See quillon-bus --help.");
  return options;
}

}  // namespace bus
