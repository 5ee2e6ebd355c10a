#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "unattended/trouble.h"

namespace quillon {

/// What a step does.
enum class Job { kParallel, kSerial, kFlashInfo, kBootInfo, kAuto };

inline bool IsDownload(Job job) { return job == Job::kParallel || job == Job::kSerial; }

/// What the operator has to do. An empty text leaves its box as the settings have it.
struct Task {
  QString answer;  ///< the help or the version: asked for in place of work
  struct Step {
    QString words;  ///< as they stood on the command line
    Job job;
    QString button;  ///< of the main window
    std::optional<QList<int>> controllers;
  };

  QString hex;
  bool force = false;  ///< take a file that contradicts itself
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

/// Reads the command line, its first word the program. Raises Failure, kUsage for a word that makes no sense:
/// a guess could erase a controller; kFile for a file or folder that is not there.
Task ReadCommandLine(const QStringList& arguments);

}  // namespace quillon
