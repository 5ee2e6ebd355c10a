#pragma once

#include <QColor>
#include <QStringList>
#include <QTemporaryDir>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "desktop/program.h"
#include "driver/window_driver.h"
#include "end_to_end/watchdog.h"
#include "support/started_program.h"

namespace quillon::test {

using namespace std::chrono_literals;

/// A technician before the real windows, with a virtual bus on a real pseudo-terminal behind COM 7, in real
/// time. Knows the tool only by what can be seen, pressed and read: the windows, files, and what the bus
/// heard.
class Technician final : public WindowDriver {
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
  /// A technician that is still there after `bound` ends the process and says how far it came: about three
  /// times what is needed on an idle machine.
  Technician(std::chrono::seconds bound, const std::vector<std::string>& busOptions,
             const Settings& settings);
  ~Technician() override;

  /// Writes a HEX file and chooses it through the file dialog.
  void ChooseHex(const std::vector<std::string>& lines);

  /// The bus takes no byte from here on, as an adapter that hangs.
  void HangTheLine() { bus_->Send(SIGSTOP); }
  /// Ends the bus as a pulled cable does, with no farewell.
  void PullTheLine() { bus_->End(SIGKILL); }
  /// Starts another bus with these options in the place of the one before.
  void PlugTheLineIn(const std::vector<std::string>& busOptions);

  /// Puts a device beside the program as COM 8, and selects it.
  void SelectDevice(const std::string& device);

  /// Does something once, as soon as the condition holds while the tool works.
  void When(std::function<bool()> condition, std::function<void()> action);

  bool Ticked(int controller) const { return WindowDriver::Ticked(ControllerName(controller)); }

  /// Reports the events of the tool's runs to `observer` until the technician ends.
  void AddObserver(RunObserver& observer) { program_->AddObserver(observer); }

  std::vector<QString> boxes;  ///< texts of the boxes that stood and were answered

  /// What the tool put on the line, each with its speed and format: "9600 8N2 40050173F8A904".
  std::vector<std::string> Frames() const;

  /// Ends the tool and returns the lines of its log.
  std::vector<std::string> EndAndReadLog();
  std::string Read(const std::string& name) const;

 private:
  void WriteSettings(const Settings& settings) const;
  void OnBox(QMessageBox& box) override;
  void OnLook() override;
  std::string Path(const std::string& name) const { return (folder_.path() + "/").toStdString() + name; }

  // Where it stands, for the watchdog.
  void TellWindows();
  void TellFiles();

  QTemporaryDir folder_;
  Watchdog watchdog_;
  std::optional<StartedProgram> bus_;
  std::vector<std::pair<std::function<bool()>, std::function<void()>>> plans_;
  std::optional<Program> program_;
};

}  // namespace quillon::test
