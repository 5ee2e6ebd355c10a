#pragma once

#include <string>

namespace quillon {

/// What a firmware file says about itself.
struct ImageFacts {
  std::string ImageProduct = "";   ///< model name
  std::string ImageProtocol = "";  ///< the image's protocol byte, two hex digits
  std::string ImageBaudText = "";  ///< the bit-rate rule in words
  std::string ImageBaudRate = "";  ///< fixed bit rate, decimal; a file that fixes none leaves it as it was
  std::string ImageVersion = "";
};

}  // namespace quillon
