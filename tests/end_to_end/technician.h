#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "desktop/program.h"
#include "support/bench.h"

namespace quillon::test {

/// A technician before the real windows, with a virtual bus on a real pseudo-terminal behind COM 7, in real
/// time. Knows the tool only by what can be seen, pressed and read: widgets by their accessible names, files,
/// and what the bus heard.
class Technician {
 public:
  /// Starts the bus with these options, and the tool with these settings: time-out, speed, delay, protocol.
  struct Settings {
    std::string timeout = "150";
    std::string speed = "9600";
    std::string delay = "50";
    std::string protocol = "63";
    std::vector<int> controllers;
    std::string bootSpeed = "";  ///< for "Boot.ini"; empty: no such file
  };
  Technician(const QStringList& busOptions, const Settings& settings);
  ~Technician();

  /// Writes a HEX file and chooses it through the file dialog.
  void ChooseHex(const std::vector<std::string>& lines);

  /// Presses a button of a window and stays until the run that it sets off is over.
  void Press(const QString& window, const QString& name);

  /// Does something once, as soon as the condition holds while the tool works.
  void When(std::function<bool()> condition, std::function<void()> action);

  QString Text(const QString& window, const QString& name) const;
  bool Ticked(int controller) const;
  void Tick(const QString& name);
  /// The status line of the progress window; empty while that is hidden.
  QString Status() const;

  /// The row of a controller: texts, colour of the version's text, colour of the checksum's text and
  /// background.
  struct Row {
    QString version;
    QString checksum;
    QColor versionText;
    QColor checksumText;
    QColor checksumBack;
  };
  Row RowOf(int controller) const;

  std::vector<QString> boxes;  ///< texts of the boxes that stood and were answered

  /// What the tool put on the line, each with its speed and format: "9600 8N2 40050173F8A904".
  std::vector<std::string> Frames() const;

  /// Ends the tool and gives the lines of its log.
  std::vector<std::string> EndAndReadLog();
  std::string Read(const std::string& name) const;

 private:
  void StartBus(const QStringList& options);
  void WriteSettings(const Settings& settings) const;
  void Look();
  /// Types the whole path of the file to choose and presses Open, once.
  void OpenFile(QFileDialog& dialog);
  std::string Path(const std::string& name) const { return (folder_.path() + "/").toStdString() + name; }

  QTemporaryDir folder_;
  QProcess bus_;
  QTimer watch_;
  QString fileToChoose_;
  std::vector<std::pair<std::function<bool()>, std::function<void()>>> plans_;
  std::optional<Program> program_;
};

/// The child of a window that screen readers know as `name`.
template <class Widget>
Widget* Find(const QString& window, const QString& name) {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    if (top->objectName() != window) continue;
    for (Widget* child : top->findChildren<Widget*>()) {
      if (child->accessibleName() == name) return child;
    }
  }
  throw std::logic_error("no \"" + name.toStdString() + "\" in " + window.toStdString());
}

}  // namespace quillon::test
