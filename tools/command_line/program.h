#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "command_line/exit_error.h"
#include "command_line/manual_formatter.h"

namespace quillon {

/// The options and arguments of a program, with the help of a manual page:
///
///     CommandLine line("quillon-log", kDescription, kFooter);
///     line.add_option("LOG", file);
///     line.AddHelp(QUILLON_VERSION);
///     if (const auto status = line.Parse(argc, argv)) return *status;
class CommandLine : public CLI::App {
 public:
  /// ManualFormatter documents `description` and `footer`.
  CommandLine(const std::string& program, const std::string& description, const std::string& footerText)
      : CLI::App(description, program) {
    formatter(std::make_shared<ManualFormatter>());
    footer(footerText);
    allow_windows_style_options(false);  // a path can begin with a slash
  }

  /// Adds --help and --version behind the options that were added before.
  void AddHelp(const std::string& version) {
    set_help_flag("-h,--help", "print this text");
    set_version_flag("--version", get_name() + " " + version, "print the version");
  }

  /// Adds an option with a whole number from `low` to `high`.
  CLI::Option* AddNumber(const std::string& name, int& target, int low, int high, const std::string& help) {
    return add_option(name, target, help)->type_name("N")->check(CLI::Range(low, high).description(""));
  }

  /// Adds an option with a text, which the help calls `type`.
  CLI::Option* AddText(const std::string& name, std::string& target, const std::string& type,
                       const std::string& help) {
    return add_option(name, target, help)->type_name(type);
  }

  /// Parses what CLI::App::parse accepts. Returns the exit status when the help, the version or an error was
  /// printed, and nothing when there is work.
  template <class... Words>
  std::optional<int> Parse(Words&&... words) {
    try {
      parse(std::forward<Words>(words)...);
      return std::nullopt;
    } catch (const CLI::ParseError& error) {
      if (exit(error) != 0) return kUsageStatus;
      return std::cout.flush() ? 0 : kFileStatus;
    }
  }
};

/// Returns the exit status of `run`. Prints an exception as "quillon-log: reason"; one that is not an
/// ExitError ends the program with kFileStatus.
inline int RunProgram(const char* program, const std::function<int()>& run) {
  const auto fail = [program](const std::exception& error, int status) {
    std::fprintf(stderr, "%s: %s\n", program, error.what());
    return status;
  };
  try {
    return run();
  } catch (const ExitError& error) {
    return fail(error, error.status);
  } catch (const std::exception& error) {
    return fail(error, kFileStatus);
  }
}

}  // namespace quillon
