#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

/// The words of QCoreApplication::arguments() for CLI::App::parse: without the program, the last one first.
/// On Windows argv itself lacks the characters that the code page lacks.
std::vector<std::string> WordsToParse(const QStringList& arguments);

/// A whole number of digits only, without a sign or blanks, from `low` to `high`; nothing for other words.
std::optional<int> NumberWithin(const QString& word, int low, int high);

/// The controllers of a list such as "1,2,5" or "0-3,7", in its order. Raises ExitError with kUsageStatus;
/// its text names the wrong part.
QList<int> ParseControllers(const QString& list);

}  // namespace quillon
