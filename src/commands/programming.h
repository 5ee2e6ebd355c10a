#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "link/frame.h"

namespace quillon {

/// The message $75/$10 with one batch, closed. `payload` is the load address, high byte first, and the data;
/// `address` a controller's number or kBroadcast. Raises RunError 6 when the payload is longer than a frame
/// can tell: 251 bytes.
Bytes BatchFrame(int address, const Bytes& payload);

/// The message $75/$0F to controller `y`, closed: does your flash sum up to this? `checksum` is hex text; it
/// travels as its first six digits, with zeros in front of one of less than five.
Bytes FullChecksumFrame(int y, const std::string& checksum);

}  // namespace quillon
