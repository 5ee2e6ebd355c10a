#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <stdexcept>
#include <vector>

namespace quillon {

/// What the operator shall do. An empty text leaves its box as the settings have it.
struct Task {
  struct Step {
    QString words;   ///< as they stood on the command line
    QString button;  ///< of the main window
    std::optional<QList<int>> controllers;
  };

  QString hex;
  QString port;
  QString speed;
  QString protocol;
  QString timeout;
  QString delay;
  std::optional<QList<int>> controllers;
  QString pictures;
  std::vector<Step> steps;
};

/// A command line that can't be understood; the text names the word and the way out.
struct UsageError : std::runtime_error {
  using runtime_error::runtime_error;
};

/// Reads the command line, its first word the program; ends the program for --help.
/// Throws UsageError for a word that makes no sense: a guess could erase a controller.
Task ReadCommandLine(const QStringList& arguments);

}  // namespace quillon
