// Builds every frame that the tool sends. frames.h lists the payloads. All frames but one have this form:
//
//     protocol  address  length  payload (length bytes)  CRC high  CRC low  04
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
constexpr std::size_t kMaxPayload = 255;
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
  const std::string padding(checksum.size() < kMinChecksumDigits ? kMinChecksumDigits - checksum.size() : 0,
                            '0');
  const std::string digits = padding + checksum;
  const auto pair = [&](std::size_t n) {
    return static_cast<std::uint8_t>(HexToNumber(std::string_view(digits).substr(2 * n, 2)));
  };
  return FrameTo(controller, kFixedProtocol,
                 {kProgramming, 0xAA, 0x55, kFullChecksum, pair(0), pair(1), pair(2)});
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
