#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "link/frame.h"

namespace quillon {

/// Every frame that the tool sends, in the form that link/frame.h draws:
///
///     payload                        purpose                                      answer
///     73                             read version and checksum of the flash       version and checksum
///     74 55 ss F0                    erase; ss is the speed that follows:         61 done, else refused
///                                    BB the current, AA the download speed
///     75 AA 55 10 aaaa data          program one batch at load address aaaa       61 done, else refused;
///                                                                                 none to a broadcast
///     75 AA 55 0F cccccc             compare the checksum of the whole flash      61 equal, else refused
///     75 AA 55 50                    read version and checksum of the boot code   version and checksum
///     55                             change from protocol 4 to 3                  61 done, else refused
///
/// The two reading frames and the erase have the protocol byte of the setting `Protocol`, the others 0x40.
/// Controllers on protocol 3 read text, so the frame that changes them to protocol 4 is the text "p400:4/"
/// behind protocol byte and address. The address is the controller's number plus 30. The frame has no length,
/// no CRC and no end byte, and its answer is 68 2F. The functions return closed frames. `controller` is
/// a number from 0 to 31.

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
