#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

#include "records/job_record.h"
#include "report/known_firmware.h"

namespace quillon {

/// A job record as a page of a service book.
struct Report {
  QString title;
  QList<std::pair<QString, QString>> facts;  ///< label and value
  QStringList columns;
  QList<QStringList> rows;  ///< one for each controller
  QStringList notes;        ///< for the verdicts that need one; a row refers to its number
  QString summary;
};

/// `name` is that of the record's file. With `known` the report names the firmware that the controllers
/// contain.
Report MakeReport(const JobRecord& record, const QString& name, const KnownFirmware* known);

QString AsText(const Report& report);

/// A whole document with a page for each report.
QString AsHtml(const QList<Report>& reports);

/// Writes the same as PDF, A4. Raises std::runtime_error when the file can't be written.
void WritePdf(const QList<Report>& reports, const QString& path);

/// A line for each controller of a record; CsvHeader is the line with the names of the columns.
QString CsvHeader();
QString AsCsv(const JobRecord& record, const KnownFirmware* known);

}  // namespace quillon
