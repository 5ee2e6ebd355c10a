// The command line of quillon-bus.
#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "bus/bus.h"

namespace bus {

/// An option that can't be used; the text names the option and the remedy.
class OptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The cable is unplugged once, after so many frames of the tool, and plugged in again later.
struct Unplug {
  int afterFrames;
  std::chrono::milliseconds duration;
};

struct Options {
  std::string textToPrint;  // for --help or --version; then nothing else is done. Else ""
  LineOptions line;
  std::vector<ControllerSetup> controllers;
  std::string link;     // "" for none
  std::string logFile;  // "" for none
  bool verbose = false;
  std::optional<Unplug> unplug;
};

/// Reads the arguments that follow the program's name. Throws OptionError.
Options ParseOptions(std::span<const std::string> arguments);

}  // namespace bus
