#pragma once

#include <string>

namespace quillon {

/// The metadata in a firmware file; analyse_image.cpp shows where it is. Empty: the file does not contain it.
struct ImageFacts {
  std::string ImageProduct = "";   ///< model name
  std::string ImageProtocol = "";  ///< the image's protocol byte, two hex digits
  std::string ImageBaudText = "";  ///< the rule for the bit rate, such as "Baud Rate Fix 9600"
  std::string ImageBaudRate = "";  ///< fixed bit rate, decimal; a file without one leaves it unchanged
  std::string ImageVersion = "";   ///< "12-05-31"
};

}  // namespace quillon
