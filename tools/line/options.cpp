#include "line/options.h"

#include <charconv>

#include "command_line/manual_formatter.h"

namespace quillon {
namespace {

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-line [OPTION]... --port N CONTROLLERS...

DESCRIPTION
  Asks each of the CONTROLLERS, such as 1,2 or 0-31, for version and
  checksum many times. Reports how many answers were intact, the probable
  cause of damage, and what to do about it. It sends nothing else and
  changes nothing.

    good          at least 20 questions, all answered intact and in time
    marginal      some questions failed, and a repeat of each was answered;
                  or a cause was found that has done no damage so far
    bad           more than one question in ten failed, or three in a row,
                  or the cause allows no download
    not there     no answer at any of the four speeds
    not measured  fewer than 20 questions, or it answers at another speed
                  only

  An answer is shorter than a batch and is sent in the other direction: a
  good line can still lose a batch.
)";

constexpr char kFooter[] = R"(JSON
  Each line of the output is an object with "event": start, one controller
  each, line, file (with --for) and end, whose "code" is the exit status.

EXIT STATUS
  0   each controller that is there is good, and each one named alone (1,2,
      not 0-31) is there
  1   a controller is marginal, bad or not measured, or one named alone is
      not there
  2   an option or argument is not valid
  3   the port is missing, in use, not permitted, or was removed during the
      check
  4   a file cannot be read or written
  5   ended by Ctrl-C; what was measured is shown

EXAMPLES
  Check controllers 3, 12 and 13:

    $ quillon-line --port 33 --speed 9600 3,12-13
    Asks 3 controllers, each 20 times. Takes about 34 s, at most 114 s.
    number  answered  damaged  late  time (ms) min/median/max  verdict
         3     20/20        0     0  7 / 7 / 9                 good
        12     16/20        3     0  7 / 7 / 31                bad: 3...
        13         -        -     -  -                         not there
    ...

  Ask as many questions as a download of the file needs, and make a page:

    quillon-line --port 33 --for pump.hex --prove --html check.html 1,2,5

  Watch controller 5 while the cable is moved by hand:

    quillon-line --port 33 --watch 5
)";

int ReadNumber(const std::string& text) {
  int number = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc{} && end == text.data() + text.size();
  if (!whole || number < 0 || number > 31)
    throw std::invalid_argument("\"" + text +
                                "\" is not a controller: give numbers from 0 to 31, such as 1,2 or 0-31");
  return number;
}

/// "1,2,8-11": adds the numbers to the plan, and the single ones to those that are expected.
void ReadControllers(const std::string& list, LineOptions& options) {
  std::set<int> all(options.plan.controllers.begin(), options.plan.controllers.end());
  for (const std::string& part : CLI::detail::split(list, ',')) {
    const std::size_t dash = part.find('-');
    const int first = ReadNumber(part.substr(0, dash));
    const int last = dash == std::string::npos ? first : ReadNumber(part.substr(dash + 1));
    if (last < first) throw std::invalid_argument("\"" + part + "\" ends before it begins");
    if (dash == std::string::npos) options.named.insert(first);
    for (int number = first; number <= last; ++number) all.insert(number);
  }
  options.plan.controllers.assign(all.begin(), all.end());
}

}  // namespace

LineOptions ParseLineOptions(int argc, const char* const* argv) {
  constexpr int kProtocolOfControllers = 63;
  LineOptions options;
  int protocol = kProtocolOfControllers;
  int timeout = 500;
  std::vector<std::string> lists;
  CLI::App app(kDescription, "quillon-line");
  app.formatter(std::make_shared<ManualFormatter>());
  app.footer(kFooter);
  app.set_help_flag("-h,--help", "print this text");
  app.set_version_flag("--version", "quillon-line " QUILLON_VERSION "\n", "print the version");
  app.add_option("CONTROLLERS", lists)->required();
  const auto number = [&app](const char* name, int& target, int low, int high, const char* help) {
    return app.add_option(name, target, help)->type_name("N")->check(CLI::Range(low, high).description(""));
  };
  number("--port", options.plan.port, 1, 99, "number of the port, as in \"Com Port\", 1 to 99")->required();
  number("--speed", options.plan.baud, 300, 1000000, "bits per second (9600)");
  number("--protocol", protocol, 0, 254, "as in the field \"Protocol\" (63)");
  number("--questions", options.plan.questions, 1, 100000,
         "questions to each controller (20); fewer allow no verdict");
  number("--timeout", timeout, 10, 60000, "milliseconds after which an answer is late (500)");
  const auto* file =
      app.add_option("--for", options.file, "compare the questions with a parallel download of FILE")
          ->type_name("FILE");
  app.add_flag("--prove", options.prove, "ask as many questions as the whole file needs")
      ->needs(const_cast<CLI::Option*>(file));
  app.add_flag("--watch", options.watch, "ask until Ctrl-C, and print one line for each round");
  app.add_flag("--json", options.json, "print one JSON object a line");
  app.add_option("--html", options.html, "write a page with a plot for each controller")->type_name("FILE");
  app.add_option("--record", options.record, "write a job record into a folder")->type_name("DIR");
  try {
    app.parse(argc, argv);
    for (const std::string& list : lists) ReadControllers(list, options);
  } catch (const CLI::CallForHelp&) {
    options.answer = app.help();
  } catch (const CLI::CallForVersion& version) {
    options.answer = version.what();
  } catch (const CLI::ParseError& error) {
    throw std::invalid_argument(error.what());
  }
  options.plan.protocolByte = static_cast<std::uint8_t>(protocol + 1);
  options.plan.timeout = timeout / 1000.0;
  return options;
}

}  // namespace quillon
