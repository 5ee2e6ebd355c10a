// Writes tables as text and HTML, for quillon-line and quillon-report. In a text table each column is as wide
// as its longest cell, and two blanks separate the columns.
#include "page/page.h"

#include <algorithm>

namespace quillon {

QString TextTable(const QList<QStringList>& lines, qsizetype numbers) {
  QList<qsizetype> widths(lines.front().size(), 0);
  for (const QStringList& line : lines)
    for (qsizetype i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  QString text;
  for (const QStringList& line : lines) {
    QStringList cells;
    for (qsizetype i = 0; i < line.size(); ++i)
      cells << (i < numbers ? line[i].rightJustified(widths[i]) : line[i].leftJustified(widths[i]));
    QString row = cells.join("  ");
    while (row.endsWith(' ')) row.chop(1);
    text += row + "\n";
  }
  return text;
}

QString HtmlRow(const QStringList& cells, const QString& tag) {
  QString row;
  for (const QString& cell : cells) row += "<" + tag + ">" + cell + "</" + tag + ">";
  return "<tr>" + row + "</tr>\n";
}

QString HtmlPage(const QString& title, const QString& style, const QString& body) {
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + title +
         "</title><style>\n" + style + "</style></head><body>\n" + body + "</body></html>\n";
}

}  // namespace quillon
