// Parses what the command lines of the tools have in common: lists of controllers such as "0-3,7", and whole
// numbers. Both are strict, because a wrong guess could select another controller.
#include "command_line/arguments.h"

#include <QRegularExpression>

#include "command_line/exit_error.h"

namespace quillon {

// CLI11 parses a list from its end, and without the name of the program.
std::vector<std::string> WordsToParse(const QStringList& arguments) {
  std::vector<std::string> words;
  for (qsizetype n = arguments.size() - 1; n > 0; --n) words.push_back(arguments[n].toStdString());
  return words;
}

std::optional<int> NumberWithin(const QString& word, int low, int high) {
  static const QRegularExpression digits("^[0-9]+\\z");
  bool fits = false;
  const int number = word.toInt(&fits);
  if (!fits || !digits.match(word).hasMatch() || number < low || number > high) return std::nullopt;
  return number;
}

QList<int> ParseControllers(const QString& list) {
  constexpr int kLastController = 31;
  QList<int> numbers;
  for (const QString& word : list.split(',')) {
    const auto first = NumberWithin(word.section('-', 0, 0), 0, kLastController);
    const auto last = word.contains('-') ? NumberWithin(word.section('-', 1), 0, kLastController) : first;
    if (!first || !last || *last < *first) {
      throw ExitError(
          kUsageStatus,
          ("\"" + word + "\" is not a controller. Give numbers from 0 to 31, such as 1,2,5 or 0-3,7.")
              .toStdString());
    }
    for (int number = *first; number <= *last; ++number) numbers.push_back(number);
  }
  return numbers;
}

}  // namespace quillon
