#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <iterator>
#include <string>

#include "log/telling.h"
#include "platform/system_files.h"
#include "platform/text_file.h"

namespace {

constexpr const char* kHelp = R"(Tells in words what Quillon's log says.

On top one row for each run and controller: how often it was asked, how often it
answered, how many sends were repeats and how many answers refusals, and what it
held or said in the end. Then the doubtful places: a false CRC, an echo, a wrong
length, a checksum other than the one sent. Then every message, its frame in words;
an exclamation mark stands before a doubtful line.

A log that is cut anywhere is read as far as it goes. The log is complete when the
tool has ended. A single frame can be asked for as well:
  echo 40 05 01 73 F8 A9 04 | quillon-log)";

std::string ReadStandardInput() { return {std::istreambuf_iterator<char>(std::cin), {}}; }

constexpr int kUsage = 2;
constexpr int kFile = 4;

int Run(int count, char** words) {
  CLI::App options(kHelp, "quillon-log");
  std::string file = "-";
  bool summary = false;
  options.add_option("LOG", file, "The log; without it, or with -, standard input is read");
  options.add_flag("-s,--summary", summary, "Only the summary and the doubtful places");
  options.set_version_flag("--version", "quillon-log " QUILLON_VERSION);
  try {
    options.parse(count, words);
  } catch (const CLI::ParseError& error) {
    return options.exit(error) == 0 ? 0 : kUsage;
  }
  const std::string log = file == "-" ? ReadStandardInput() : quillon::ReadFile(file);
  std::cout << quillon::TellLog(log, summary ? quillon::Detail::kSummary : quillon::Detail::kEverything);
  return std::cout.flush() ? 0 : kFile;
}

}  // namespace

int main(int count, char** words) {
  quillon::system_files::OpenMissingStreams();
  try {
    return Run(count, words);
  } catch (const std::exception& error) {
    std::cerr << std::string("quillon-log: ") + error.what() + '\n';
    return kFile;
  }
}
