// quillon-log explains a log of the tool. This file has its documentation, command line and exit status;
// log_report.h writes the report.
#include <cstdint>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "command_line/program.h"
#include "log/log_report.h"
#include "platform/system_files.h"
#include "platform/text_file.h"

namespace {

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-log [OPTION]... [LOG]

DESCRIPTION
  Explains the log that Quillon writes. Without LOG, or when LOG is -, it
  reads the standard input. The report has three parts:

  1. For each run and controller the number of requests, answers, repeated
     sends and refusals, and the state after the last message.
     A checksum "as sent" is "proven" if the controller accepted every
     batch and the full checksum. It is "confirmed" if the controller
     accepted the full checksum only.
  2. The doubtful lines: a false CRC, an echo, a wrong length, an answer
     from another controller, a final refusal, a checksum other than the
     one that was sent, or a checksum that the controller did not confirm.
  3. Every message with its frames decoded. Doubtful lines begin with an
     exclamation mark.

  A log that is cut off is read up to its end. The log is complete when
  Quillon has ended.
)";

constexpr char kFooter[] = R"(EXIT STATUS
  0   the log was read
  2   an option or argument is not valid
  4   the log cannot be read, or the report cannot be written

EXAMPLES
  $ quillon-log ~/.local/share/quillon/Log.txt
    1 run in 8 lines

    Run 1, lines 2 to 7: Flash Info
      controller  asked  answered  repeated  refused  state
               0      1         1         0        0  version 01/02/03, ...
               1      1         1         0        0  version 01/02/03, ...

    Doubtful places: none

    Run 1, lines 2 to 7: Flash Info
      Controller 0
             2  40 00 01 73 13 59 04: asks controller 0 for version and...
             3    40 00 07 61 00 01 02 03 1E 02 A0 2E 04: version 01/02...

  Decode a single frame:

    echo 40 05 01 73 F8 A9 04 | quillon-log

  Print the first two parts only:

    quillon-log --summary Log.txt
)";

std::string ReadStandardInput() {
  std::string text(std::istreambuf_iterator<char>(std::cin), {});
  if (text.size() > UINT32_MAX) throw std::runtime_error("the standard input has more than 4 GiB");
  return text;
}

int Run(int argc, char** argv) {
  quillon::CommandLine app("quillon-log", kDescription, kFooter);
  std::string file = "-";
  bool summary = false;
  app.add_option("LOG", file);
  app.add_flag("-s,--summary", summary, "print only the first two parts");
  app.AddHelp(QUILLON_VERSION);
  if (const auto status = app.Parse(argc, argv)) return *status;
  const std::string log = file == "-" ? ReadStandardInput() : quillon::ReadFile(file);
  quillon::WriteLogReport(log, summary ? quillon::Detail::kSummary : quillon::Detail::kEverything, std::cout);
  return std::cout.flush() ? 0 : quillon::kFileStatus;
}

}  // namespace

int main(int argc, char** argv) {
  quillon::system_files::PrepareProcess();
  return quillon::RunProgram("quillon-log", [=] { return Run(argc, argv); });
}
