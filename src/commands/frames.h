#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "link/frame.h"

namespace quillon {

// Every frame that the tool sends; frames.cpp lists them. The functions return closed frames. `controller` is
// a number from 0 to 31, `protocol` the protocol byte.

Bytes FlashCheckFrame(std::uint8_t protocol, int controller);

enum class SpeedWhileProgramming { kKept, kDownload };
Bytes FlashEraseFrame(std::uint8_t protocol, int controller, SpeedWhileProgramming speed);

/// `address` is a controller's number or kBroadcast. `payload` is the load address, high byte first, and the
/// data. Raises RunError 6 for a payload of more than 251 bytes, the most that fit into a frame.
Bytes BatchFrame(int address, const Bytes& payload);

/// The bytes of each batch's frame, for a firmware file in memory. Raises what BatchReader::Next raises.
std::vector<std::size_t> BatchFrameSizes(std::string_view file);

/// The frame contains the first six digits of `checksum`, hex text that is padded to five digits with zeros.
Bytes FullChecksumFrame(int controller, const std::string& checksum);

Bytes BootCheckFrame(std::uint8_t protocol, int controller);
Bytes ToProtocol4Frame(int controller);
Bytes ToProtocol3Frame(int controller);

}  // namespace quillon
