#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "support/test_program.h"

namespace quillon::test {

/// A firmware of some 6 KB: 4 KB from 0000, a gap, 2 KB less five bytes from 2000 (or smaller). Version
/// 12-05-31, fixed rate 9600, protocol byte $40, product "MURK".
struct Firmware {
  static constexpr unsigned kRecordBytes = 16;

  struct Block {
    unsigned address;
    Bytes data;
  };
  std::vector<Block> blocks;

  /// The second block holds the metadata, so it is of at least 48 bytes.
  explicit Firmware(std::size_t firstBytes = 0x1000, std::size_t secondBytes = 0x800 - 5)
      : blocks{{0x0000, Bytes(firstBytes)}, {0x2000, Bytes(secondBytes)}} {
    for (Block& block : blocks) {
      for (std::size_t i = 0; i < block.data.size(); ++i)
        block.data[i] = static_cast<std::uint8_t>(i * 37 + i / 256);
    }
    const Bytes version{0, 0, 0, 0, 0, 0x31, 0x32, 0, 0x30, 0x35, 0, 0x33, 0x31, 0, 0, 0};
    const Bytes flags{0x10, 0x00, 0x40, 0x02};
    std::copy(version.begin(), version.end(), blocks[1].data.begin() + 0x10);
    std::copy(flags.begin(), flags.end(), blocks[1].data.begin() + 0x20);
  }

  static Bytes Slice(const Block& block, std::size_t begin, std::size_t length) {
    const std::size_t end = std::min(begin + length, block.data.size());
    return {block.data.begin() + static_cast<std::ptrdiff_t>(begin),
            block.data.begin() + static_cast<std::ptrdiff_t>(end)};
  }

  std::vector<std::string> HexLines() const {
    std::vector<std::string> lines{":020000040000FA"};
    for (const Block& block : blocks) {
      for (unsigned i = 0; i < block.data.size(); i += kRecordBytes) {
        lines.push_back(HexRecord(block.address + i, Slice(block, i, kRecordBytes)));
      }
    }
    lines.push_back(HexRecord(0, {}, 1));
    return lines;
  }

  unsigned Checksum() const {
    unsigned sum = 0;
    unsigned filled = 0;
    for (const Block& block : blocks) {
      for (const std::uint8_t byte : block.data) sum += byte;
      filled += static_cast<unsigned>(block.data.size());
    }
    return sum + 255 * (57342 - filled);
  }

  /// The low 16 bits of the checksum in four digits.
  std::string ShownChecksum() const {
    const unsigned sum = Checksum();
    return ToHex({static_cast<std::uint8_t>(sum >> 8), static_cast<std::uint8_t>(sum)});
  }
};

}  // namespace quillon::test
