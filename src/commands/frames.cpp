// Builds every frame that the tool sends. All frames but one have this form, in hex:
//
//     protocol  address  length  payload (length bytes)  CRC high  CRC low  04
//
//     payload                 purpose                                      answer
//     73                      read version and checksum of the flash       version and checksum
//     74 55 ss F0             erase; ss is the speed of the batches:       61 done, else refused
//                             BB the current, AA the download speed
//     75 AA 55 10 aaaa data   program one batch at load address aaaa       61 done, else refused;
//                                                                          none to a broadcast
//     75 AA 55 0F cccccc      compare the checksum of the whole flash      61 equal, else refused
//     75 AA 55 50             read version and checksum of the boot code   version and checksum
//     55                      change from protocol 4 to 3                  61 done, else refused
//
// The two reading frames and the erase have the protocol byte of the setting `Protocol`, the others 40.
//
// Controllers on protocol 3 read text, so the frame that changes them to protocol 4 is the text "p400:4/"
// after the protocol byte 40 and an address, the controller's number plus 30 (decimal). It has no length, no
// CRC and no end byte, and its answer is 68 2F.
#include "commands/frames.h"

#include "image/batch_reader.h"
#include "link/text_arithmetic.h"
#include "platform/run_error.h"

namespace quillon {
namespace {

constexpr std::uint8_t kFlashCheck = 0x73;
constexpr std::uint8_t kFlashErase = 0x74;
constexpr std::uint8_t kProgramming = 0x75;
constexpr std::uint8_t kToProtocol3 = 0x55;

// The operations of the boot code, which follow kProgramming AA 55.
constexpr std::uint8_t kBatch = 0x10;
constexpr std::uint8_t kFullChecksum = 0x0F;
constexpr std::uint8_t kBootCheck = 0x50;

constexpr std::uint8_t kKeepSpeed = 0xBB;
constexpr std::uint8_t kUseDownloadSpeed = 0xAA;

constexpr std::size_t kBatchHeaderBytes = 4;  // kProgramming AA 55 kBatch
constexpr std::size_t kMaxPayload = 255;      // the length is one byte
constexpr std::size_t kMinChecksumDigits = 5;

Bytes FrameTo(int address, std::uint8_t protocol, const Bytes& payload) {
  Bytes frame{protocol, static_cast<std::uint8_t>(address), static_cast<std::uint8_t>(payload.size())};
  frame.insert(frame.end(), payload.begin(), payload.end());
  return CloseFrame(std::move(frame));
}

}  // namespace

Bytes FlashCheckFrame(std::uint8_t protocol, int controller) {
  return FrameTo(controller, protocol, {kFlashCheck});
}

Bytes FlashEraseFrame(std::uint8_t protocol, int controller, SpeedWhileProgramming speed) {
  const bool kept = speed == SpeedWhileProgramming::kKept;
  return FrameTo(controller, protocol, {kFlashErase, 0x55, kept ? kKeepSpeed : kUseDownloadSpeed, 0xF0});
}

Bytes BatchFrame(int address, const Bytes& payload) {
  if (payload.size() + kBatchHeaderBytes > kMaxPayload) {
    throw RunError(RunError::kOverflow,
                   "Overflow: a batch of " + std::to_string(payload.size()) +
                       " bytes does not fit into a frame. Create the HEX file again with lines "
                       "of at most 128 data bytes.");
  }
  Bytes batch{kProgramming, 0xAA, 0x55, kBatch};
  batch.insert(batch.end(), payload.begin(), payload.end());
  return FrameTo(address, kFixedProtocol, batch);
}

std::vector<std::size_t> BatchFrameSizes(std::string_view file) {
  std::vector<std::size_t> sizes;
  for (BatchReader batches(file); !batches.AtEnd();)
    sizes.push_back(BatchFrame(kBroadcast, batches.Next()).size());
  return sizes;
}

Bytes FullChecksumFrame(int controller, const std::string& checksum) {
  std::string digits = checksum;
  if (digits.size() < kMinChecksumDigits) digits.insert(0, kMinChecksumDigits - digits.size(), '0');
  const auto byte = [&](std::size_t n) {
    return static_cast<std::uint8_t>(HexToNumber(std::string_view(digits).substr(2 * n, 2)));
  };
  return FrameTo(controller, kFixedProtocol,
                 {kProgramming, 0xAA, 0x55, kFullChecksum, byte(0), byte(1), byte(2)});
}

Bytes BootCheckFrame(std::uint8_t protocol, int controller) {
  return FrameTo(controller, protocol, {kProgramming, 0xAA, 0x55, kBootCheck});
}

Bytes ToProtocol4Frame(int controller) {
  const auto address = static_cast<std::uint8_t>(controller + kTextFrameAddressOffset);
  return {kFixedProtocol, address, 'p', '4', '0', '0', ':', '4', '/'};
}

Bytes ToProtocol3Frame(int controller) { return FrameTo(controller, kFixedProtocol, {kToProtocol3}); }

}  // namespace quillon
