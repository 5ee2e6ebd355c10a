#pragma once

#include <string>

namespace quillon {

/// The description of a port for the operator: "/dev/ttyUSB0", and maker and product of its adapter.
struct PortDescription {
  std::string text;
  bool exists;  ///< the device is connected
};

}  // namespace quillon
