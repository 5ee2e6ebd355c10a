#include "support/witness.h"

namespace quillon::test {

bus::Command CommandOf(const Bytes& frame) {
  if (frame[2] == 'p') return bus::Command::ToProtocol4;
  if (frame[3] == 0x73) return bus::Command::Check;
  if (frame[3] == 0x74) return bus::Command::Erase;
  if (frame[3] == 0x55) return bus::Command::ToProtocol3;
  if (frame[6] == 0x10) return bus::Command::Batch;
  return frame[6] == 0x0F ? bus::Command::Checksum : bus::Command::Boot;
}

int AddresseeOf(const Bytes& frame) {
  if (CommandOf(frame) == bus::Command::ToProtocol4) return frame[1] - bus::kTextFrameOffset;
  return frame[1] == bus::kBroadcastAddress ? -1 : frame[1];
}

bool LogHolds(const std::string& log, const std::vector<SentBytes>& frames, std::size_t& from) {
  const Bytes* last = nullptr;
  for (const SentBytes& frame : frames) {
    if (last && *last == frame.bytes) continue;
    last = &frame.bytes;
    std::string line = "\n";
    for (const std::uint8_t byte : frame.bytes) line += ToHex({byte}) + " ";
    const std::size_t at = log.find(line + "\r\n", from);
    if (at == std::string::npos) return false;
    from = at + 1;
  }
  return true;
}

}  // namespace quillon::test
