#pragma once

#include <cstdint>
#include <string>

#include "link/frame.h"

namespace quillon {

/// Every frame that the tool sends, in the form that link/frame.h draws:
///
///     payload                        asks for                                     answer
///     73                             version and checksum of the flash            version and checksum
///     74 55 ss F0                    erasing; ss: BB stay at this speed, AA go    61 done, else refused
///                                    to the download speed
///     75 AA 55 10 aaaa data          one batch of the image, aaaa its load        61 done, else refused;
///                                    address                                      none to a broadcast
///     75 AA 55 0F cccccc             confirming the checksum of the whole flash   61 equal, else refused
///     75 AA 55 50                    version and checksum of the boot code        version and checksum
///     55                             going back to protocol 3                     61 done, else refused
///
/// The checks and the erasing carry the protocol byte of the box `Protocol`; all others the fixed one.
///
/// One frame is not of that form, since a controller on protocol 3 reads text: "p400:4/" moves it to
/// protocol 4. It has no length, no CRC and no end byte; its address is the controller's number plus 30, and
/// the answer is the short one, 68 2F.
///
/// `y` is a controller's number, 0 to 31. All frames but that one are closed.

Bytes FlashCheckFrame(std::uint8_t protocol, int y);

enum class SpeedWhileProgramming { kKept, kDownload };
Bytes FlashEraseFrame(std::uint8_t protocol, int y, SpeedWhileProgramming speed);

/// `address` is a controller's number or kBroadcast; `payload` the load address, high byte first, and the
/// data. Raises RunError 6 when the payload is longer than a frame can hold: 251 bytes.
Bytes BatchFrame(int address, const Bytes& payload);

/// `checksum` is hex text; it travels as its first six digits, with zeros in front of one of less than five.
Bytes FullChecksumFrame(int y, const std::string& checksum);

Bytes BootCheckFrame(std::uint8_t protocol, int y);
Bytes ToProtocol4Frame(int y);
Bytes ToProtocol3Frame(int y);

}  // namespace quillon
