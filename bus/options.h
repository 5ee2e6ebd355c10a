#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "bus/bus.h"

namespace bus {

/// An option that can't be used; the text names it and the way out.
class OptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The cable comes off after so many frames of the tool, once, and is put back after a while.
struct Unplug {
  int afterFrames;
  std::chrono::milliseconds away;
};

/// What the command line of quillon-bus asks for.
struct Options {
  std::string help;  // what --help prints; "" when it was not asked for
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
