#include "unattended/task.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <cstdint>
#include <map>

namespace quillon {
namespace {

constexpr int kLastController = 31;

const std::map<QString, QString> kButtons = {
    {"parallel", "Download (Parallel)"},
    {"serial", "Download (Serial)"},
    {"flash-info", "Flash Info"},
    {"boot-info", "Boot Info"},
    {"auto", "Auto"},
};

const QStringList kSpeeds = {"4800", "9600", "19200", "38400"};

struct Range {
  const char* option;
  int low;
  int high;
};
constexpr Range kRanges[] = {
    {"port", 1, 99}, {"protocol", 0, 254}, {"timeout", 1, INT32_MAX}, {"delay", 0, INT16_MAX}};

[[noreturn]] void Refuse(const QString& reason) { throw UsageError(reason.toStdString()); }

/// Digits alone make a number here: no sign, no blanks, nothing left out.
std::optional<int> NumberWithin(const QString& word, int low, int high) {
  static const QRegularExpression digits("^[0-9]+\\z");
  bool fits = false;
  const int number = word.toInt(&fits);
  if (!fits || !digits.match(word).hasMatch() || number < low || number > high) return std::nullopt;
  return number;
}

/// The controllers of a list such as "1,2,5"; `where` is the part of the command line that holds it.
QList<int> Controllers(const QString& list, const QString& where) {
  QList<int> numbers;
  for (const QString& word : list.split(',')) {
    const std::optional<int> number = NumberWithin(word, 0, kLastController);
    if (!number) {
      Refuse(where + ": \"" + word +
             "\" is no controller. Give numbers from 0 to 31 with commas between, such as 1,2,5.");
    }
    numbers.push_back(*number);
  }
  return numbers;
}

Task::Step ReadStep(const QString& words) {
  const QString name = words.section(':', 0, 0);
  const auto button = kButtons.find(name);
  if (button == kButtons.end()) {
    Refuse("There is no step \"" + name + "\". Give parallel, serial, flash-info, boot-info or auto.");
  }
  Task::Step step{words, button->second, std::nullopt};
  if (words.contains(':')) step.controllers = Controllers(words.section(':', 1), words);
  return step;
}

void CheckNumbers(const QCommandLineParser& parser) {
  for (const Range& range : kRanges) {
    const QString word = parser.value(range.option);
    if (!parser.isSet(range.option) || NumberWithin(word, range.low, range.high)) continue;
    Refuse(QString("--%1: \"%2\" does not fit. Give a whole number from %3 to %4.")
               .arg(range.option, word)
               .arg(range.low)
               .arg(range.high));
  }
  if (parser.isSet("speed") && !kSpeeds.contains(parser.value("speed"))) {
    Refuse("--speed: \"" + parser.value("speed") + "\" is no speed. Give one of " + kSpeeds.join(", ") + ".");
  }
}

QString ReadHex(const QCommandLineParser& parser) {
  if (!parser.isSet("hex")) return "";
  const QFileInfo file(parser.value("hex"));
  if (!file.isFile())
    Refuse("--hex: there is no file \"" + parser.value("hex") + "\". Give the path of a HEX file.");
  return file.absoluteFilePath();
}

QString ReadPictures(const QCommandLineParser& parser) {
  const QString folder = parser.value("pictures");
  if (parser.isSet("pictures") && (folder.isEmpty() || !QDir().mkpath(folder))) {
    Refuse("--pictures: the folder \"" + folder + "\" can't be made. Give another one.");
  }
  return folder;
}

}  // namespace

Task ReadCommandLine(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Runs Quillon's windows with no operator.\nSteps, in order: parallel, serial, flash-info, boot-info, "
      "auto;\neach with controllers of its own where they follow it: serial:1,3.\n"
      "Ends with 0 when no box but \"send p4 OK!!!\" came and every ticked controller holds version and\n"
      "checksum, equal to the file's; with 1 when not; with 2 when it can't understand its arguments.");
  parser.addOptions({{{"h", "help"}, "Tells this."},
                     {"hex", "HEX file to choose by Browse.", "FILE"},
                     {"port", "Port, 1 to 99.", "N"},
                     {"speed", "Speed in bits per second: " + kSpeeds.join(", ") + ".", "BAUD"},
                     {"protocol", "Number for the box Protocol, 0 to 254.", "N"},
                     {"timeout", "Time out in milliseconds.", "MS"},
                     {"delay", "Parallel waiting delay in milliseconds.", "MS"},
                     {"controllers", "Controllers to tick, such as 1,2,5; the others are unticked.", "LIST"},
                     {"pictures", "Folder for pictures of the windows.", "DIR"}});
  parser.addPositionalArgument("STEP", "What to do.", "STEP...");
  if (!parser.parse(arguments)) Refuse(parser.errorText() + ". Ask with --help.");
  if (parser.isSet("help")) parser.showHelp();
  CheckNumbers(parser);
  Task task;
  task.port = parser.value("port");
  task.speed = parser.value("speed");
  task.protocol = parser.value("protocol");
  task.timeout = parser.value("timeout");
  task.delay = parser.value("delay");
  if (parser.isSet("controllers"))
    task.controllers = Controllers(parser.value("controllers"), "--controllers");
  for (const QString& step : parser.positionalArguments()) task.steps.push_back(ReadStep(step));
  task.hex = ReadHex(parser);
  task.pictures = ReadPictures(parser);
  return task;
}

}  // namespace quillon
