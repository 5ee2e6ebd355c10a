#pragma once

#include <string>
#include <vector>

#include "support/bench.h"
#include "support/image.h"

namespace quillon::test {

/// A bench whose line leads to simulated controllers. They go to 38400 for programming.
class RunBench : public Bench {
 public:
  explicit RunBench(const std::vector<bus::ControllerSetup>& controllers = {}) {
    for (const bus::ControllerSetup& setup : controllers) bus.Add(setup);
    world.bus = &bus;
    tool.DownloadSettings = "38400,N,8,2";
  }

  bus::Bus bus{{.downloadBaud = 38400}};

  /// All that was sent, in short: "9600 E3 E5x3 38400 B B S3 19200 C3". A number alone is a new speed; the
  /// letters are C flash check, E erase, B batch (to all, or to the number behind it), S full checksum, T
  /// boot check, P to protocol 4, Q to protocol 3; x3 tells that the same bytes went out three times.
  std::string Talk() const {
    std::string talk;
    int baud = 0;
    for (std::size_t i = 0; i < world.sent.size();) {
      const SentBytes& frame = world.sent[i];
      const std::size_t first = i;
      while (i < world.sent.size() && world.sent[i].bytes == frame.bytes && world.sent[i].baud == frame.baud)
        ++i;
      if (frame.baud != baud) talk += std::to_string(frame.baud) + " ";
      baud = frame.baud;
      talk += Token(frame.bytes) + (i - first > 1 ? "x" + std::to_string(i - first) : "") + " ";
    }
    if (!talk.empty()) talk.pop_back();
    return talk;
  }

  std::vector<std::string> statuses;  ///< all status lines that stood on `Message` at a yield

  /// Begins to collect the status lines.
  void WatchStatus() {
    world.When(
        [this] {
          const std::string& shown = tool.message.Label1.Text();
          return tool.message.Visible() && (statuses.empty() || shown != statuses.back());
        },
        [this] {
          statuses.push_back(tool.message.Label1.Text());
          WatchStatus();
        });
  }

  /// Ticks numbers 0 to `count`-1.
  void TickFirst(int count) {
    for (int i = 0; i < kControllers; ++i) tool.C(i).SetValue(i < count ? 1 : 0);
  }

 private:
  static std::string Token(const Bytes& frame) {
    if (frame[2] == 'p') return "P" + std::to_string(frame[1] - 30);
    const std::string number = frame[1] == 0x5F ? "" : std::to_string(frame[1]);
    switch (frame[3]) {
      case 0x73:
        return "C" + number;
      case 0x74:
        return "E" + number;
      case 0x55:
        return "Q" + number;
      default:
        return (frame[6] == 0x10 ? "B" : frame[6] == 0x0F ? "S" : "T") + number;
    }
  }
};

using Button = CommandButton Quillon::*;

inline const char* NameOf(Button button) {
  const struct {
    Button button;
    const char* name;
  } kNames[] = {{&Quillon::ComLoad, "Parallel"},  {&Quillon::ComLoad00, "Serial"},
                {&Quillon::ComInfo, "FlashInfo"}, {&Quillon::ComBoot, "BootInfo"},
                {&Quillon::Auto, "Auto"},         {&Quillon::Cmd3to4, "To4"},
                {&Quillon::Cmd4to3, "To3"}};
  for (const auto& entry : kNames) {
    if (entry.button == button) return entry.name;
  }
  return "?";
}

}  // namespace quillon::test
