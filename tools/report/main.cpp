// quillon-report prints job records as pages for a service book. This file has its documentation, command
// line and exit status. records/job_record.h reads the records, report.h writes the pages.
#include <QFileInfo>
#include <QGuiApplication>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "command_line/arguments.h"
#include "command_line/program.h"
#include "platform/system_files.h"
#include "report/report.h"

namespace {

constexpr char kDescription[] = R"(SYNOPSIS
  quillon-report [OPTION]... FILE...

DESCRIPTION
  Prints the job records that Quillon writes, as pages for a service book:
  what was loaded, through which port, and for each controller the firmware
  before and after, what went wrong, the verdict, and what to do next.

  A record that was cut off by a crash or a power failure is printed as far
  as it goes, and the page shows where it stops.
)";

constexpr char kFooter[] = R"(EXIT STATUS
  0   all records were printed
  2   an option or argument is not valid
  4   a file cannot be read or written, or is not a job record; all others
      are printed

EXAMPLES
  $ cd ~/.local/share/quillon/Jobs
  $ quillon-report 20261124T101112Z-parallel.jsonl
  Parallel download

  Time      2026-11-24 10:11:12 UTC, 12.8 s, finished
  File      demo.hex: 8660 bytes, 25 batches, checksum 6E8C
  ...
  No.  Before         After          ...  Refusals  Damaged  Verdict
  3    12/04/02 91C4  12/05/31 6E8C  ...  -         -        good (confi...
  5                   12/05/31 C28C  ...  3         -        not-program...

  [1] not-programmed; it reports the checksum C28C, not 6E8C of the file...

  All records of a day as a PDF file, with the names of the firmware:

    quillon-report --pdf page.pdf --known firmware/ 20261124*.jsonl

  A table for a spreadsheet:

    quillon-report --csv *.jsonl >jobs.csv
)";

struct Options {
  std::vector<std::string> files;
  std::string known;
  std::string pdf;
  bool html = false;
  bool csv = false;
};

struct NamedRecord {
  QString name;  // of the file
  quillon::JobRecord record;
};

/// Reads the records. Reports those that can't be read, and sets `complete` to false for them.
std::vector<NamedRecord> ReadAll(const std::vector<std::string>& files, bool& complete) {
  std::vector<NamedRecord> records;
  for (const std::string& file : files) {
    try {
      const QString path = QString::fromStdString(file);
      records.push_back({QFileInfo(path).fileName(), quillon::ReadRecord(path)});
    } catch (const std::runtime_error& error) {
      std::cerr << "quillon-report: " + file + ": " + error.what() + '\n';
      complete = false;
    }
  }
  return records;
}

QString AllAsCsv(const std::vector<NamedRecord>& records, const quillon::KnownFirmware* known) {
  QString text = quillon::CsvHeader();
  for (const NamedRecord& named : records) text += quillon::AsCsv(named.record, known);
  return text;
}

QString AllAsText(const QList<quillon::Report>& reports) {
  QStringList texts;
  for (const quillon::Report& report : reports) texts.push_back(quillon::AsText(report));
  return texts.join("\n\n");
}

void Print(const std::vector<NamedRecord>& records, const Options& options) {
  std::optional<quillon::KnownFirmware> firmware;
  if (!options.known.empty()) firmware.emplace(QString::fromStdString(options.known));
  const quillon::KnownFirmware* known = firmware ? &*firmware : nullptr;
  if (options.csv) {
    std::cout << AllAsCsv(records, known).toStdString();
    return;
  }
  QList<quillon::Report> reports;
  for (const auto& [name, record] : records) reports.push_back(quillon::MakeReport(record, name, known));
  if (!options.pdf.empty()) return quillon::WritePdf(reports, QString::fromStdString(options.pdf));
  std::cout << (options.html ? quillon::AsHtml(reports) : AllAsText(reports)).toStdString();
}

/// Returns a status that ends the program, or nothing when there is work.
std::optional<int> ParseCommandLine(int argc, char** argv, Options& options) {
  const QCoreApplication withoutWindows(argc, argv);
  quillon::CommandLine app("quillon-report", kDescription, kFooter);
  app.add_option("FILE", options.files)->required();
  auto* html = app.add_flag("--html", options.html, "print HTML");
  auto* csv = app.add_flag("--csv", options.csv,
                           "print comma-separated values, a line for each controller and record");
  app.AddText("--pdf", options.pdf, "FILE", "write a PDF file, A4")->excludes(html)->excludes(csv);
  csv->excludes(html);
  app.AddText("--known", options.known, "DIR",
              "name the firmware of each controller by its checksum, from the HEX files in this folder");
  app.AddHelp(QUILLON_VERSION);
  return app.Parse(quillon::WordsToParse(QCoreApplication::arguments()));
}

int Run(int argc, char** argv) {
  Options options;
  if (const auto status = ParseCommandLine(argc, argv, options)) return *status;
#ifndef Q_OS_WIN
  qputenv("QT_QPA_PLATFORM", "offscreen");  // works without a display
#endif
  // A PDF page needs the fonts of an application. Qt sees only the program's name, because it would interpret
  // options such as -style.
  int argumentCount = argc > 0 ? 1 : 0;
  const QGuiApplication application(argumentCount, argv);
  bool complete = true;
  Print(ReadAll(options.files, complete), options);
  return complete && std::cout.flush() ? 0 : quillon::kFileStatus;
}

}  // namespace

int main(int argc, char** argv) {
  quillon::system_files::PrepareProcess();
  qInstallMessageHandler(
      [](QtMsgType, const QMessageLogContext&, const QString&) {});  // drops Qt's warnings about the desktop
  return quillon::RunProgram("quillon-report", [=] { return Run(argc, argv); });
}
