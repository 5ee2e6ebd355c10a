#pragma once

#include <string>
#include <vector>

#include "support/image.h"
#include "support/test_program.h"
#include "support/witness.h"

namespace quillon::test {

using Texts = std::vector<std::string>;
using Button = CommandButton Quillon::*;

/// kImage and three batches that a controller can lack unnoticed: the bytes FF in their place change the
/// checksum by 10000 in hex, and a controller reports its last four digits.
inline Texts ImageWithSilentGap() {
  Texts lines = kImage;
  for (const unsigned address : {0x5000u, 0x5100u, 0x5200u})
    lines.insert(lines.end() - 1, HexRecord(address, Bytes(128, address == 0x5200 ? 0xFD : 0)));
  return lines;
}

inline constexpr Button kParallel = &Quillon::ComLoad;
inline constexpr Button kSerial = &Quillon::ComLoad00;
inline constexpr Button kInfo = &Quillon::ComInfo;
inline constexpr Button kBoot = &Quillon::ComBoot;
inline constexpr Button kTo3 = &Quillon::Cmd4to3;
inline constexpr Button kTo4 = &Quillon::Cmd3to4;
inline constexpr Button kAuto = &Quillon::Auto;
inline constexpr Button kRuns[] = {kParallel, kSerial, kInfo, kBoot, kTo3, kTo4, kAuto};

/// A program with simulated controllers on its line. They use 38400 baud for programming.
class RunProgram : public TestProgram {
 public:
  explicit RunProgram(const std::vector<bus::ControllerSetup>& controllers = {}) {
    for (const bus::ControllerSetup& setup : controllers) bus.Add(setup);
    computer.bus = &bus;
    tool.DownloadSettings = "38400,N,8,2";
  }

  bus::Bus bus{{.downloadBaud = 38400}};

  /// Presses a button; the two that move controllers to another protocol show only while "Prot 3" is ticked.
  void Press(Button button) {
    if (button == kTo3 || button == kTo4) tool.RUD3.SetValue(CheckBox::kTicked);
    (tool.*button).Press();
  }

  /// All that was sent, in words: "9600 Erase3 Erase5x3 38400 Batch Batch Sum3 19200 Check3".
  ///
  ///     9600     the line's speed from here on
  ///     Check3   version and checksum of flash, asked of controller 3
  ///     Erase3   erasing
  ///     Batch    one batch to all; Batch3: to controller 3 alone
  ///     Sum3     the full checksum, to be confirmed
  ///     Boot3    version and checksum of boot code
  ///     To4:3    to protocol 4; To3:3: back to protocol 3
  ///     x3       the same bytes three times
  std::string Talk() const {
    std::string talk;
    int baud = 0;
    for (std::size_t i = 0; i < computer.sent.size();) {
      const SentBytes& frame = computer.sent[i];
      const std::size_t first = i;
      while (i < computer.sent.size() && computer.sent[i].bytes == frame.bytes &&
             computer.sent[i].baud == frame.baud)
        ++i;
      if (frame.baud != baud) talk += std::to_string(frame.baud) + " ";
      baud = frame.baud;
      talk += Token(frame.bytes) + (i - first > 1 ? "x" + std::to_string(i - first) : "") + " ";
    }
    if (!talk.empty()) talk.pop_back();
    return talk;
  }

  Texts Rows() { return {Row(3), Row(5)}; }

  /// Whether a run has put away what it needs: the port and the status window.
  bool Over() const { return !computer.open && !tool.message.Visible(); }

  /// The numbers of the ticked controllers: "3 5 ".
  std::string Ticked() const {
    std::string numbers;
    for (int i = 0; i < kControllers; ++i) numbers += tool.C(i).Ticked() ? std::to_string(i) + " " : "";
    return numbers;
  }

 private:
  static std::string Token(const Bytes& frame) {
    constexpr const char* kNames[] = {"Check", "Erase", "Batch", "Sum", "Boot", "To3:", "To4:"};
    const int to = AddresseeOf(frame);
    return kNames[static_cast<int>(CommandOf(frame))] + (to < 0 ? "" : std::to_string(to));
  }
};

}  // namespace quillon::test
