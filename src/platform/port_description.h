#pragma once

#include <string>

namespace quillon {

/// A port in words for the operator.
struct PortDescription {
  std::string text;
  bool there;  ///< it has a device
};

}  // namespace quillon
