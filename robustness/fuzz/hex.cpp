// A firmware file of any bytes: chosen, looked through for faults, and sent in both programming passes. One
// that begins with a line feed and has 8, 16, 24 ... bytes is repeated until it is longer than the piece of
// 32 KB in which a file is read. That takes twenty times as long, so few are.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "commands/flash_prog.h"
#include "commands/flash_prog00.h"
#include "image/analyse_image.h"
#include "image/hex_faults.h"
#include "support/test_program.h"

using namespace quillon;

namespace {

/// Each frame is as long as its length byte tells, and its CRC is right: a controller takes what a CRC holds.
void HoldBatches(const std::vector<test::SentBytes>& sent) {
  for (const test::SentBytes& frame : sent) {
    const std::size_t length = frame.bytes[2];
    if (frame.bytes.size() != length + 6) std::abort();
    if (bus::CloseFrame({frame.bytes.begin(), frame.bytes.end() - 3}) != frame.bytes) std::abort();
  }
}

/// Both passes send the same payloads, as far as the second came.
void HoldPayloads(const std::vector<test::SentBytes>& toAll, const std::vector<test::SentBytes>& toOne) {
  constexpr std::ptrdiff_t kLength = 2;  // where a frame's length byte is; before it stands whom it is for
  constexpr std::ptrdiff_t kCrcAndEndByte = 3;
  for (std::size_t i = 0; i < std::min(toAll.size(), toOne.size()); ++i) {
    const Bytes& one = toOne[i].bytes;
    const Bytes& all = toAll[i].bytes;
    if (!std::equal(all.begin() + kLength, all.end() - kCrcAndEndByte, one.begin() + kLength,
                    one.end() - kCrcAndEndByte)) {
      std::abort();
    }
  }
}

std::string TextOf(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLonger = 40'000;
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::string text = input;
  while (size % 8 == 0 && input.starts_with('\n') && text.size() < kLonger) text += input;
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = TextOf(data, size);
  test::TestProgram program;
  program.computer.fileToChoose = program.Write("any.hex", text);
  program.tool.Command1.Press();
  ImageFacts facts;
  const std::string checksum = ChecksumText(AnalyseImage(LineReader(text), facts));
  const std::string shown = checksum.size() > 4 ? checksum.substr(checksum.size() - 4) : checksum;
  if (program.tool.FileCheksum.Text() != shown) std::abort();
  if (FirstHexFault(LineReader(text)).has_value() != program.tool.FileWarning.Visible()) std::abort();

  program.tool.MSComm1.SetPortOpen(true);
  FlashProg(program.tool);
  HoldBatches(program.computer.sent);
  const auto toAll = std::exchange(program.computer.sent, {});
  int y = 5;
  program.computer.script.assign(toAll.size() + 1, {{test::Nanoseconds(0), test::FromHex("40050161CADA04")}});
  FlashProg00(program.tool, y);
  HoldBatches(program.computer.sent);
  HoldPayloads(toAll, program.computer.sent);
  return 0;
}
