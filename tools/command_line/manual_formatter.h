#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace quillon {

/// Prints the help of a program with the sections of a manual page. The description of the CLI::App contains
/// SYNOPSIS and DESCRIPTION, its footer the sections after OPTIONS; each ends with a line end. OPTIONS are
/// printed from the options themselves. packaging/man/make-page builds the manual page from this text.
class ManualFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string /*name*/, CLI::AppFormatMode) const override {
    std::string help = app->get_description() + "\nOPTIONS\n";
    for (const CLI::Option* option : app->get_options()) {
      if (option->nonpositional()) help += make_option(option, false);
    }
    return help + '\n' + app->get_footer();
  }
};

}  // namespace quillon
