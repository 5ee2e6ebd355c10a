#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "forms/run_events.h"
#include "records/resume.h"
#include "unattended/error_category.h"

namespace quillon {

/// The parsed command line. An empty text means that the option was not given: the saved setting is used.
struct Task {
  QString textToPrint;  ///< for --help or --version; then nothing else is done; empty otherwise
  struct Step {
    QString text;  ///< as given, such as "serial:1,3"
    RunKind kind;
    QString button;  ///< of the main window
    std::optional<QList<int>> controllers;
    bool failedOnly = false;  ///< instead: the controllers whose last verdict is not good
  };

  QString hex;         ///< after PrepareFiles an absolute path
  QString hexGiven;    ///< as given
  bool force = false;  ///< use a file that contradicts itself
  bool json = false;
  bool estimateOnly = false;
  QString port;
  QString speed;
  QString protocol;
  QString timeout;
  QString delay;
  std::optional<QList<int>> controllers;
  QString pictures;
  QString record;                ///< folder for job records
  QString by;                    ///< a name for them
  QString resumeFrom;            ///< a job record
  std::optional<Resume> resume;  ///< in place of steps
  std::vector<Step> steps;
};

/// The step of this name, such as "serial"; raises Failure, kUsage, when there is none.
Task::Step StepNamed(const QString& name);

/// Parses the command line, whose first word is the program. It opens no file. Raises Failure, kUsage, for a
/// word that is not valid: a guess could erase a controller.
Task ParseCommandLine(const QStringList& arguments);

/// Reads the record to resume from and takes over what the command line leaves empty. Makes the path of the
/// firmware file absolute, and creates the folders for pictures and records. Raises Failure, kFile, when
/// there is no such file, the record does not fit, or the folder for pictures cannot be created.
void PrepareFiles(Task& task);

}  // namespace quillon
