#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace quillon {

/// Lines of cells as text in columns. The first `numbers` columns are aligned to the right.
QString TextTable(const QList<QStringList>& lines, qsizetype numbers = 0);

/// A row of an HTML table. The cells are HTML; `tag` is "td" or "th".
QString HtmlRow(const QStringList& cells, const QString& tag = "td");

/// A whole HTML document. `style` is CSS, `body` HTML.
QString HtmlPage(const QString& title, const QString& style, const QString& body);

}  // namespace quillon
