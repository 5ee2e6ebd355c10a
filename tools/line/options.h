// The command line of quillon-line.
#pragma once

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "line/measurement.h"

namespace quillon {

struct LineOptions {
  std::string answer;  ///< the text of --help or --version, when one of them was given
  LinePlan plan;
  std::set<int> named;  ///< controllers that were named singly: each is expected to be there
  std::string file;     ///< firmware for whose download the line is to be judged; "" for none
  bool prove = false;   ///< ask as many questions as the file needs
  bool watch = false;
  bool json = false;
  std::string html;    ///< "" for none
  std::string record;  ///< folder of job records; "" for none
};

/// Raises std::invalid_argument; its text names the option and the remedy.
LineOptions ParseLineOptions(int argc, const char* const* argv);

}  // namespace quillon
