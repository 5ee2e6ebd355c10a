// Received bytes of any kind, in any pieces, through the exchange and each reader of an answer.
//
//     byte 0     which button is pressed
//     n, d       and n bytes, again and again: they arrive d times 8 ms after the sending
//     d odd      they get a right CRC, which chance would hardly ever find
//     n 0        the next sending's answer begins
#include <cstdlib>

#include "support/image.h"
#include "support/test_program.h"

using namespace quillon;
using namespace std::chrono_literals;

namespace {

constexpr CommandButton Quillon::*kButtons[] = {&Quillon::ComLoad, &Quillon::ComLoad00, &Quillon::ComInfo,
                                                &Quillon::ComBoot, &Quillon::Cmd3to4,   &Quillon::Cmd4to3,
                                                &Quillon::Auto};
constexpr test::Nanoseconds kPatience = 1h;

std::deque<std::vector<test::Reply>> ScriptOf(const std::uint8_t* data, std::size_t size) {
  std::deque<std::vector<test::Reply>> script(1);
  for (std::size_t at = 0; at + 1 < size;) {
    const std::size_t count = std::min<std::size_t>(data[at], size - at - 2);
    if (data[at] == 0) script.emplace_back();
    const test::Nanoseconds after = data[at + 1] * 8ms;
    Bytes bytes(data + at + 2, data + at + 2 + count);
    if (data[at + 1] % 2 != 0) bytes = bus::CloseFrame(std::move(bytes));
    if (count != 0) script.back().push_back({after, std::move(bytes)});
    at += 2 + count;
  }
  return script;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  test::TestProgram program;
  program.ChooseHex(test::kImage);
  program.Tick({0, 5});
  program.tool.RUD3.SetValue(CheckBox::kTicked);
  program.computer.script = ScriptOf(data + 1, size - 1);
  program.CancelAt(kPatience);
  (program.tool.*kButtons[data[0] % std::size(kButtons)]).Press();
  if (program.computer.open || program.tool.message.Visible()) std::abort();
  if (program.computer.Time() > kPatience + 1min) std::abort();
  return 0;
}
