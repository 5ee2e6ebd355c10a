// Turns job records into pages for a service book. MakeReport decides what a page contains, and the other
// functions write it as text, HTML, PDF or CSV. A page is laid out as follows:
//
//     Parallel download                                  title
//     Time      2026-11-24 10:11:12 UTC, ...             facts: label and value
//     No.  Before  After  ...  Verdict                   columns
//     5    ...                 not-programmed [1]        a row for each controller
//     [1] not-programmed; it reports the checksum ...    notes
//     1 of 2 controllers are good.                       summary
#include "report/report.h"

#include <QAbstractTextDocumentLayout>
#include <QFile>
#include <QPageSize>
#include <QPdfWriter>
#include <QTextDocument>
#include <algorithm>
#include <stdexcept>

#include "page/page.h"

namespace quillon {
namespace {

QString Title(const JobRecord& record) {
  const QMap<QString, QString> titles{{"parallel", "Parallel download"},
                                      {"serial", "Serial download"},
                                      {"flash-info", "Flash info"},
                                      {"boot-info", "Boot info"},
                                      {"line-check", "Line check"},
                                      {"auto", "Auto detection"},
                                      {"to-protocol-4", "Switch to protocol 4"},
                                      {"to-protocol-3", "Switch to protocol 3"}};
  return titles.value(record.Kind(), "Run of an unknown kind");
}

QString VersionAndChecksum(const QJsonObject& row) {
  return row.isEmpty() ? "" : row["version"].toString() + " " + row["checksum"].toString();
}

/// The verdict with its evidence, for example "good (proven)".
QString VerdictText(const ControllerRecord& controller) {
  return controller.verdict + (controller.evidence.isEmpty() ? "" : " (" + controller.evidence + ")");
}

/// The note on a controller that is not good. `gap` names the batches that may be missing in its flash.
/// Controllers with the same text share one note.
QString NoteOf(const ControllerRecord& controller) {
  if (controller.good) return "";
  QStringList parts{VerdictText(controller), controller.reason, controller.gap, controller.advice};
  parts.removeAll("");
  return parts.join("; ");
}

/// The name of the firmware that a controller has after the run; empty if it is not known what it has.
QString Firmware(const JobRecord& record, const ControllerRecord& controller, const KnownFirmware& known) {
  if (record.Kind() == "boot-info" || controller.after.isEmpty()) return "";
  return known.NameOf(controller.after["checksum"].toString());
}

/// Shortens a long name in its middle, because a row must fit on one line: a page has 32 rows.
QString Shortened(const QString& name) {
  constexpr qsizetype kLongestName = 17;
  constexpr qsizetype kKeptAtEachEnd = 7;
  return name.size() > kLongestName ? name.left(kKeptAtEachEnd) + "..." + name.right(kKeptAtEachEnd) : name;
}

/// The settings that the record contains, as one line. Only a parallel download uses the delay.
QString SettingsText(const JobRecord& record) {
  constexpr std::pair<const char*, const char*> kTexts[] = {{"speed", "%1 bit/s"},
                                                            {"timeout", "time-out %1 ms"},
                                                            {"delay", "delay %1 ms"},
                                                            {"questions", "%1 questions each"},
                                                            {"protocol", "protocol %1"}};
  QJsonObject settings = record.job["settings"].toObject();
  if (record.Kind() != "parallel") settings.remove("delay");
  QStringList texts;
  for (const auto& [name, text] : kTexts)
    if (settings.contains(name)) texts << QString(text).arg(settings[name].toString());
  return texts.join(", ");
}

QString CountText(int count) { return count == 0 ? "-" : QString::number(count); }

/// The cells of a row between the number and the verdict.
QStringList CellsOf(const JobRecord& record, const ControllerRecord& controller) {
  if (record.Kind() == "line-check") return {CountText(controller.unanswered), CountText(controller.damaged)};
  QStringList cells{VersionAndChecksum(controller.before),
                    controller.after.isEmpty() ? controller.failure : VersionAndChecksum(controller.after)};
  for (const int count :
       {controller.acknowledged, controller.repeats, controller.refusals, controller.damaged})
    cells.push_back(CountText(count));
  return cells;
}

void AddFacts(const JobRecord& record, const QString& name, Report& report) {
  const auto add = [&](const QString& label, const QString& value) {
    if (!value.isEmpty()) report.facts.push_back({label, value});
  };
  const QJsonObject file = record.File();
  add("Time", record.Time().toString("yyyy-MM-dd HH:mm:ss 'UTC'") +
                  QString(", %1 s, %2")
                      .arg(record.seconds, 0, 'f', 1)
                      .arg(record.ending.isEmpty() ? "cut" : record.ending));
  add("Cut", record.cut);  // where a crash or a power failure ended the record; "" for a complete one
  add("By", record.job["by"].toString());
  if (!file.isEmpty()) {
    add("File", QString("%1: %2 bytes, %3 batches, checksum %4")
                    .arg(file["path"].toString())
                    .arg(file["bytes"].toInteger())
                    .arg(file["batches"].toInt())
                    .arg(file["checksum"].toString()));
    add("SHA-256", file["sha256"].toString());
    add("Warning", file["fault"].toString());
  }
  add("Port", record.job["port"].toString() + ": " + record.job["adapter"].toString().replace('\n', ", "));
  add("Settings", SettingsText(record));
  add("Errors", record.errors.trimmed().replace('\n', "; "));
  add("Record", name + ", written by " + record.job["tool"].toString());
}

/// The cell for a firmware such as "pump_1.4.hex" or "unknown: no released file ...". Adds the whole text to
/// the notes if the cell does not contain all of it.
QString FirmwareCell(const QString& firmware, QStringList& notes) {
  const QString cell = Shortened(firmware.section(':', 0, 0));
  const QString note = firmware.startsWith(cell) ? firmware : cell + ": " + firmware;
  if (note != cell && !notes.contains(note)) notes.push_back(note);
  return cell;
}

}  // namespace

Report MakeReport(const JobRecord& record, const QString& name, const KnownFirmware* known) {
  constexpr qsizetype kFirmwareColumn = 3;  // after "After"
  const bool lineCheck = record.Kind() == "line-check";
  const bool withFirmware = known != nullptr && !lineCheck;  // a line check reads no firmware
  Report report;
  report.title = Title(record);
  AddFacts(record, name, report);
  report.columns = {"No.", "Before", "After", "Batches", "Repeats", "Refusals", "Damaged", "Verdict"};
  if (lineCheck) report.columns = {"No.", "Unanswered", "Damaged", "Verdict"};
  if (withFirmware) report.columns.insert(kFirmwareColumn, "Firmware");
  int good = 0;
  QStringList firmwareNotes;
  for (const auto& [number, controller] : record.controllers) {
    good += controller.good ? 1 : 0;
    const QString note = NoteOf(controller);
    if (!note.isEmpty() && !report.notes.contains(note)) report.notes.push_back(note);
    QStringList row = QStringList(QString::number(number)) + CellsOf(record, controller);
    if (withFirmware)
      row.insert(kFirmwareColumn, FirmwareCell(Firmware(record, controller, *known), firmwareNotes));
    row.push_back(VerdictText(controller) +
                  (note.isEmpty() ? "" : QString(" [%1]").arg(report.notes.indexOf(note) + 1)));
    report.rows.push_back(row);
  }
  report.summary = QString("%1 of %2 controllers are good.").arg(good).arg(record.controllers.size());
  report.notes += firmwareNotes;
  if (!record.gaps.isEmpty()) report.notes.push_back(record.gaps);  // what the gaps have in common
  return report;
}

QString AsText(const Report& report) {
  QString text = report.title + "\n\n";
  for (const auto& [label, value] : report.facts) text += label.leftJustified(10) + value + "\n";
  text += "\n" + TextTable(QList<QStringList>{report.columns} + report.rows);
  text += "\n";
  for (qsizetype i = 0; i < report.notes.size(); ++i)
    text += QString("[%1] %2\n").arg(i + 1).arg(report.notes[i]);
  return text + report.summary + "\n";
}

QString AsHtml(const QList<Report>& reports) {
  constexpr char kStyle[] =
      "body { font-family: sans-serif; font-size: 7.5pt; }\n"
      "h1 { font-size: 14pt; }\n"
      "p { margin: 3px 0px; }\n"
      "th, td { padding: 1px 4px; text-align: left; white-space: nowrap; }\n";
  QString html;
  for (const Report& report : reports) {
    html += QString("<h1%1>%2</h1>\n<table>\n")
                .arg(&report == &reports.front() ? "" : " style=\"page-break-before: always\"",
                     report.title.toHtmlEscaped());
    for (const auto& [label, value] : report.facts)
      html += HtmlRow({"<b>" + label + "</b>", value.toHtmlEscaped()});
    html += "</table>\n<br>\n<table border=\"1\" cellspacing=\"0\">\n" + HtmlRow(report.columns, "th");
    for (QStringList row : report.rows) {
      for (QString& cell : row) cell = cell.toHtmlEscaped();
      html += HtmlRow(row);
    }
    html += "</table>\n";
    for (qsizetype i = 0; i < report.notes.size(); ++i)
      html += QString("<p>[%1] %2</p>\n").arg(i + 1).arg(report.notes[i].toHtmlEscaped());
    html += "<p><b>" + report.summary + "</b></p>\n";
  }
  return HtmlPage("Job report", kStyle, html);
}

void WritePdf(const QList<Report>& reports, const QString& path) {
  constexpr int kCssPixels = 96;  // in one inch; AsHtml gives its paddings in them
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly))
    throw std::runtime_error((path + " can't be written: " + file.errorString()).toStdString());
  QPdfWriter writer(&file);
  writer.setPageSize(QPageSize(QPageSize::A4));
  writer.setPageMargins(QMarginsF(15, 12, 15, 12), QPageLayout::Millimeter);
  writer.setTitle("Job report");
  writer.setCreator("quillon-report");
  writer.setResolution(kCssPixels);
  QTextDocument document;
  document.documentLayout()->setPaintDevice(&writer);
  document.setDocumentMargin(0);
  document.setHtml(AsHtml(reports));
  // Without this, print() adds margins of its own.
  document.setPageSize(writer.pageLayout().paintRectPixels(kCssPixels).size());
  document.print(&writer);
  if (!file.flush())
    throw std::runtime_error((path + " can't be written: " + file.errorString()).toStdString());
}

QString CsvHeader() {
  return "time,kind,file,sha256,port,by,end,controller,"
         "version before,checksum before,version after,checksum after,"
         "firmware,acknowledged,repeats,refusals,damaged,silent,verdict,evidence,reason,advice\n";
}

QString AsCsv(const JobRecord& record, const KnownFirmware* known) {
  QString lines;
  for (const auto& [number, controller] : record.controllers) {
    QStringList cells{record.job["time"].toString(),
                      record.Kind(),
                      record.File()["path"].toString(),
                      record.File()["sha256"].toString(),
                      record.job["port"].toString(),
                      record.job["by"].toString(),
                      record.ending.isEmpty() ? "cut" : record.ending,
                      QString::number(number),
                      controller.before["version"].toString(),
                      controller.before["checksum"].toString(),
                      controller.after["version"].toString(),
                      controller.after["checksum"].toString(),
                      known ? Firmware(record, controller, *known) : ""};
    for (const int count : {controller.acknowledged, controller.repeats, controller.refusals,
                            controller.damaged, controller.unanswered})
      cells.push_back(QString::number(count));
    cells += {controller.verdict, controller.evidence, controller.reason, controller.advice};
    // RFC 4180: a cell with a special character is quoted, and a quote in it is doubled.
    for (QString& cell : cells) {
      if (cell.contains('"') || cell.contains(',') || cell.contains('\n'))
        cell = '"' + cell.replace('"', "\"\"") + '"';
    }
    lines += cells.join(',') + "\n";
  }
  return lines;
}

}  // namespace quillon
