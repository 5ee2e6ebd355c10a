#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "forms/run_events.h"
#include "unattended/error_category.h"

namespace quillon {

/// What the command line asks for. An empty text leaves its field as the settings have it.
struct Task {
  QString answer;  ///< the help or the version, to be printed instead of any work
  struct Step {
    QString words;  ///< as given, such as "serial:1,3"
    RunKind kind;
    QString button;  ///< of the main window
    std::optional<QList<int>> controllers;
    bool failedOnly = false;  ///< instead: the controllers whose last verdict is not good
  };

  QString hex;
  bool force = false;  ///< use a file that contradicts itself
  bool json = false;
  bool forecastOnly = false;
  QString port;
  QString speed;
  QString protocol;
  QString timeout;
  QString delay;
  std::optional<QList<int>> controllers;
  QString pictures;
  std::vector<Step> steps;
};

/// Parses the command line, whose first word is the program. It opens no file. Raises Failure, kUsage, for a
/// word that is not valid: a guess could erase a controller.
Task ParseCommandLine(const QStringList& arguments);

/// Makes the path of the firmware file absolute, and creates the folder for pictures. Raises Failure, kFile,
/// when there is no such file or the folder cannot be created.
void PrepareFiles(Task& task);

}  // namespace quillon
