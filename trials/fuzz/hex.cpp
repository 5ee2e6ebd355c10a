// A firmware file of any bytes: chosen, looked through for faults, and sent in both programming passes.
#include <cstdlib>

#include "image/analyse_image.h"
#include "image/hex_faults.h"
#include "support/bench.h"

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  test::Bench bench;
  bench.world.fileToChoose = bench.Write("any.hex", text);
  bench.tool.Command1.Press();
  ImageFacts facts;
  const std::string checksum = ChecksumText(AnalyseImage(LineReader(text), facts));
  const std::string shown = checksum.size() > 4 ? checksum.substr(checksum.size() - 4) : checksum;
  if (bench.tool.FileCheksum.Text() != shown) std::abort();
  if (FirstHexFault(LineReader(text)).has_value() != bench.tool.FileWarning.Visible()) std::abort();

  bench.tool.MSComm1.SetPortOpen(true);
  bench.tool.FlashProg();
  HoldBatches(bench.world.sent);
  const std::size_t batches = bench.world.sent.size();
  bench.world.sent.clear();
  int y = 5;
  bench.world.script.assign(batches + 1, {{test::Nanoseconds(0), test::FromHex("40050161CADA04")}});
  bench.tool.FlashProg00(y);
  HoldBatches(bench.world.sent);
  return 0;
}
