#pragma once

#include <QTemporaryDir>
#include <optional>
#include <string>
#include <vector>

#include "desktop/program.h"
#include "driver/window_driver.h"
#include "support/started_program.h"

namespace quillon::test {

/// Operates the real windows, with a virtual bus on a real pseudo-terminal behind COM 7, in real time.
class Technician final : public WindowDriver {
 public:
  /// The tool starts with these settings, with protocol 63 and 9600.
  struct Settings {
    std::string timeout = "150";
    std::string delay = "50";
    std::vector<int> controllers;
  };
  /// Starts the bus with these options, then the tool.
  Technician(const std::vector<std::string>& busOptions, const Settings& settings);
  ~Technician() override;

  /// Writes a HEX file of so many bytes from 0000 and from 2000, the latter at least 48, and chooses it
  /// through the file dialog. Version 12-05-31, fixed rate 9600, protocol byte $40, product "MURK".
  void ChooseFirmware(std::size_t firstBytes, std::size_t secondBytes);

  /// Reports the events of the tool's runs to `observer` until the technician ends.
  void AddObserver(RunObserver& observer) { program_->AddObserver(observer); }

  /// What the tool sent, each frame with its speed and format: "9600 8N2 40050173F8A904".
  std::vector<std::string> Frames() const;

 private:
  void WriteSettings(const Settings& settings) const;
  void OnBox(QMessageBox&) override {}
  std::string Path(const std::string& name) const { return (folder_.path() + "/").toStdString() + name; }

  QTemporaryDir folder_;
  StartedProgram bus_;
  std::optional<Program> program_;
};

}  // namespace quillon::test
