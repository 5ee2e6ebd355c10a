#pragma once

#include <CLI/CLI.hpp>
#include <cctype>
#include <set>
#include <sstream>
#include <string>

namespace quillon {

/// Prints the help of a program with the sections of a manual page, at most 75 columns wide, so that its page
/// in "man" has 80:
///
///     SYNOPSIS
///       quillon-report [OPTION]... FILE...
///     ...
///     OPTIONS
///       --pdf FILE              write a PDF file, A4; not with --csv, --html
///
/// The description of the CLI::App contains SYNOPSIS and DESCRIPTION, its footer the sections after the
/// options; each ends with a line end. Each group of options is a section. How options depend on each other
/// is printed from the relations that CLI11 enforces. packaging/man/make-page builds the manual page from
/// this text.
class ManualFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string /*name*/, CLI::AppFormatMode) const override {
    std::string help = app->get_description();
    for (const std::string& group : app->get_groups()) {
      std::string options;
      for (const CLI::Option* option : app->get_options())
        if (option->nonpositional() && option->get_group() == group) options += make_option(option, false);
      if (!options.empty()) help += '\n' + InCapitals(group) + '\n' + options;
    }
    return help + '\n' + app->get_footer();
  }

  std::string make_option(const CLI::Option* option, bool /*is_positional*/) const override {
    std::string name = "  " + option->get_name(false, true);
    if (option->get_type_size() != 0) name += ' ' + option->get_type_name();
    if (name.size() >= kIndent) return name + '\n' + Wrapped("", Explanation(*option));
    return Wrapped(name, Explanation(*option));
  }

 private:
  static constexpr std::size_t kIndent = 26;
  static constexpr std::size_t kWidth = 75;

  static std::string InCapitals(std::string text) {
    for (char& letter : text) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    return text;
  }

  static std::string Explanation(const CLI::Option& option) {
    std::string text = option.get_description();
    if (option.get_required()) text += "; required";
    if (option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll) text += "; can be repeated";
    return text + Relation("; needs ", option.get_needs()) + Relation("; not with ", option.get_excludes());
  }

  static std::string Relation(const char* word, const std::set<CLI::Option*>& others) {
    std::set<std::string> names;  // CLI11 orders them by address
    for (const CLI::Option* other : others) names.insert(other->get_name());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? word : ", ") + name;
    return text;
  }

  /// `text` in the right column, with `name` in the left column of its first line.
  static std::string Wrapped(std::string name, const std::string& text) {
    name.resize(kIndent, ' ');
    std::string lines;
    std::string line = name;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      if (line.size() > kIndent && line.size() + 1 + word.size() > kWidth) {
        lines += line + '\n';
        line.assign(kIndent, ' ');
      }
      line += (line.size() > kIndent ? " " : "") + word;
    }
    return lines + line + '\n';
  }
};

}  // namespace quillon
